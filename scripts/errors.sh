# Every bash script sources this first: a failed command ends the script, and standard error names the command.
set -Eeuo pipefail
shopt -s inherit_errexit

report_failure() { # STATUS LINE COMMAND
    printf '%s: line %s: status %s from: %s\n' "${0##*/}" "$2" "$1" "$3" >&2
}
trap 'report_failure "$?" "$LINENO" "$BASH_COMMAND"' ERR
