#pragma once

/// How a gateway marks what agents on the same machine may not reach, wherever it keeps it.
namespace zelvo::PrivateMark {

/// The name of a file in a folder: the folder and all below it is private.
inline constexpr char const* fileName = ".zelvo-gateway";
/// An extended attribute of a file: the file is private under all of its names. Not every file system has it.
inline constexpr char const* attribute = "user.zelvo.private";

} // namespace zelvo::PrivateMark
