# Sourced first by every bash script: a command that fails ends the script and is named on the error output.
set -Eeuo pipefail
shopt -s inherit_errexit

report_failure() { # STATUS LINE COMMAND
    printf '%s: line %s: status %s from: %s\n' "${0##*/}" "$2" "$1" "$3" >&2
}
trap 'report_failure "$?" "$LINENO" "$BASH_COMMAND"' ERR
