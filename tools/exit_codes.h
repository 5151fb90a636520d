// File: exit_codes.h
//
// The exit codes of the file-finder command; a run that meets several conditions exits
// with the highest.
#pragma once

namespace ffcli {

/// Every requested file was found (or the command did what it was asked).
constexpr int kExitAllFound = 0;
/// Some requested file was not found, or its search failed.
constexpr int kExitNotFound = 1;
/// Bad usage or bad input: unknown options, unreadable or malformed input files.
constexpr int kExitBadInput = 2;
/// An internal error: something the command did not expect went wrong.
constexpr int kExitInternalError = 3;

}  // namespace ffcli
