#pragma once

namespace zelvo {

/// Who installs new versions of this program.
enum class UpdateSource {
    itself,        ///< the program; it offers that to the person
    packageManager ///< the system's; the program only says so
};

} // namespace zelvo
