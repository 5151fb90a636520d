// File: search_report.h
//
// How the file-finder command shows its answers: an aligned table for people, or a JSON
// array for programs, one element per row:
//
//   [ { "request": { "kind": "sym", "name": "libx.so.1.debug", "binary": "/usr/lib/libx.so.1",
//                    "checksum": "md5:..." },
//       "found": "/usr/lib/debug/usr/lib/libx.so.1.debug",   // null when not found
//       "confidence": "accepted",                            // null when not found
//       "step": "system",                                    // null when not found
//       "rejected": [ { "path": "/usr/lib/libx.so.1.debug", "message": "...",
//                       "severity": "hard", "step": "around-binary" } ],
//       "tried": [ { "path": "/usr/lib/libx.so.1.debug", "step": "around-binary",
//                    "outcome": "refused", "message": "..." } ],  // every candidate, in order
//       "reason": "1 candidate refused: ...",                     // for a miss only
//       "otherNames": [ ... ],        // further names tried
//       "error": "...",               // only when the search itself failed
//       "buildId": "...", "range": "7f3a1c000000-7f3a1c1bd000", "state": "replaced" } ]
//                                     // rows of a process's module: as it was loaded
//
// "binary", "checksum", "modificationTime", "size" and "buildId" (the build-id the file
// or its binary must have) stand in "request" only when given or known. The table says
// below a module's binary when its file was deleted or replaced since it was loaded. Names, paths
// and messages are written as the library writes names into JSON
// ("Names in JSON" in ff_utils.h): strings when they are well-formed UTF-8, otherwise
// {"percentEncoded": "..."}, so no name is ever altered. The table shows
// control characters of names as \xHH escapes, so a hostile file name cannot drive the
// terminal.
#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "core/resolver.h"

namespace ffcli {

/// KIND NAME FOUND CONFIDENCE STEP, one line per row, with the row's further names,
/// rejected candidates, the reason of a miss and error indented under it; `verbose`: every
/// candidate tried as well. Columns wider than kMostColumnWidth are elided in the middle.
void writeTable(std::ostream& out, const std::vector<ResolveRow>& rows, bool verbose = false);

/// The widest a table column gets; longer names lose their middle to "...".
constexpr std::size_t kMostColumnWidth = 60;

/// Why a miss is one, in a line: "no candidate existed in 14 places", "3 candidates
/// refused: build-id differs". "" for an outcome that found its file.
std::string missReason(const Outcome& outcome);

/// The rows as the JSON array above.
nlohmann::ordered_json toJson(const std::vector<ResolveRow>& rows);

/// A name as JSON: a string when it is well-formed UTF-8, otherwise {"percentEncoded": ...}.
nlohmann::ordered_json jsonName(const std::string& name);

/// A name for a terminal: control characters (and DEL) as \xHH.
std::string printable(const std::string& name);

}  // namespace ffcli
