// The source names that the library's log lines carry, and the one fixed line number.
//
// They are the names of the files the lines came from before the sources were sorted
// into folders. Hosts filter their logs and match error lines on them, so they stay
// exactly as they are wherever the code moves, and several files share a name on
// purpose: the search front, the strategies and the iterator's trace lines are all
// "ff_search", the three directory containers all "ff_searchenv". Each source file
// takes its name once:
//
//   namespace { constexpr const char* kLogSource = log_source::kSearch; }
//
// A table of constants, one a line: its lines look alike on purpose.
#pragma once

namespace FF_2_13 {
namespace log_source {

// Search environment and contexts.
inline constexpr char kContext[] = "file_finder2/src/ff_context";
inline constexpr char kPersistentDirs[] = "file_finder2/src/ff_persistent_dirs";
inline constexpr char kSearchEnv[] = "file_finder2/src/ff_searchenv";
inline constexpr char kSearchStepsConfig[] = "file_finder2/src/ff_search_steps_config";

// The search and its validation.
inline constexpr char kSearch[] = "file_finder2/src/ff_search";
/// The iterator's assertions; its log lines are kSearch.
inline constexpr char kSearchImpl[] = "file_finder2/src/ff_search_impl";
inline constexpr char kValidator[] = "file_finder2/src/ff_validator";

// Callbacks and history.
inline constexpr char kDefaultCallbacks[] = "file_finder2/src/ff_default_callbacks";
inline constexpr char kHistory[] = "file_finder2/src/ff_history";
inline constexpr char kHistoryFile[] = "file_finder2/src/ff_history_file";
inline constexpr char kManipulator[] = "file_finder2/src/ff_manipulator";

// File utilities.
inline constexpr char kUtils[] = "file_finder2/src/ff_utils";
/// "Cannot create temp directory" is reported at this line of kUtils, whichever line
/// raises it: log readers match on it.
inline constexpr int kTempDirFailureLine = 252;

}  // namespace log_source
}  // namespace FF_2_13
