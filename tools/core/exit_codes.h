// File: exit_codes.h
//
// The exit codes of the file-finder command, and fail(), which says on stderr why a run
// ends with one. A run that meets several conditions exits with the highest.
#pragma once

#include <string>

namespace ffcli {

/// Every requested file was found (or the command did what it was asked).
constexpr int kExitAllFound = 0;
/// Some requested file was not found, or its search failed.
constexpr int kExitNotFound = 1;
/// Bad usage or bad input: unknown options, unreadable or malformed input files.
constexpr int kExitBadInput = 2;
/// An internal error: something the command did not expect went wrong.
constexpr int kExitInternalError = 3;

/// Writes "file-finder: MESSAGE" to stderr and returns `exitCode`.
int fail(int exitCode, const std::string& message);

}  // namespace ffcli
