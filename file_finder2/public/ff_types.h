// File: ff_types.h
//
// The small enumerations that cross the whole interface: file categories, search steps,
// checksum types, and the verdict values of validation. Their numeric values are fixed.
// A category also has a word, the same in every file and option that names one.
// Each has a fixed 32-bit underlying type, so any value of that type may be passed and
// stored (an unsupported category, a step value above 128) without leaving the type.
#pragma once

#include <string>

#include "ff_export.h"

namespace FF_2_13 {

/// The category of a file. Directories registered for scAllFiles serve every category.
enum search_category_t : int {
    scBinaryFiles = 1,
    scSymbolFiles = 2,
    scSourceFiles = 3,
    scAllFiles = 4
};

/// The word of a category: the name of its sub-directory in archive and result
/// directories, and its name in persistent search directories and --search-dir options.
/// "binaries", "symbols", "sources", and "all" for scAllFiles and for any value outside
/// 1 to 4 (an archive keeps such a file among those of every category).
FF_EXPORT const char* categoryWord(search_category_t category);

/// The category whose word is `word`, compared byte-wise; false, with `category` left as
/// it was, for any other word.
FF_EXPORT bool categoryFromWord(const std::string& word, search_category_t& category);

/// One bit per search step; a mask is the OR of step values. Enabled steps run in the
/// fixed order 1, 2, 128, 4, 8, 16, 32; 64 marks files the client suggested.
enum search_step_t : unsigned int {
    ssArchiveSearchDirs = 1,
    ssHighPrioritySearchDirs = 2,
    ssAbsoluteNameLookup = 4,
    ssAroundBinaryLookup = 8,
    ssLowPrioritySearchDirs = 16,
    ssSystemDirs = 32,
    ssAskUser = 64,
    ssCacheSearchDir = 128,
    /// A remote source's file (ff_remote_source.h): never in a mask, never configured; only a
    /// search with a remote source installed reports it.
    ssRemoteSource = 256
};

enum checksum_type_t : int {
    ctMD5 = 0,
    ctSHA1 = 1,
    /// Accepted as a type and parsed from text, never computed.
    ctCRC32 = 2
};

/// How sure the library is of a valid file.
enum confidence_t : int {
    /// The validators accepted it outright (also a file forced valid).
    cfAccepted = 0,
    /// Undecided; the confidence-level policy answered 0.
    cfPolicyHigh = 1,
    /// Undecided; the confidence-level policy answered 1.
    cfPolicyLow = 2
};

/// How bad a rejection is.
enum severity_t : int {
    /// Missing, not a regular file, unreadable, or a checksum mismatch of a binary or
    /// symbol file (or against the remote record).
    svHard = 0,
    /// Set by the client-side validators where they say so (time, size, source checksum).
    svMild = 1,
    /// The default of a fresh error record: a rejection nobody qualified.
    svUnspecified = 2
};

/// Result of one validation callback.
enum validation_result_t : unsigned int { vrValid = 0, vrInvalid = 1, vrUndecided = 2 };

/// Operating system of the machine a result was recorded on.
enum operating_system_type_t : int { osUnknown = 0, osLinux = 1, osWindows = 2 };

/// Architecture of the machine a result was recorded on.
enum architecture_t : int { archUnknown = 0, archX86 = 1, archX86_64 = 2 };

}  // namespace FF_2_13
