// The client library remembers a failed query as an empty file in its cache, where the
// fetched file would have gone, and answers "not found" from it until the cache's miss
// time (ten minutes by default) has passed. It leaves one as well when the transfer was
// ended by its progress function: by a cancel, or by the source's own stall limit. Such a
// marker would turn a transfer someone stopped into a miss no later fetch gets past, so
// the source takes it away again.
#pragma once

#include <cstdint>
#include <string>

#include "ff_remote_source.h"

namespace FF_2_13 {

/// The directory the client library caches into, chosen from the environment as it does:
/// DEBUGINFOD_CACHE_PATH, else an existing ~/.debuginfod_client_cache, else
/// $XDG_CACHE_HOME (or ~/.cache) + "/debuginfod_client".
std::string debuginfodCacheDirectory();

/// Removes the empty files a query for the `kind` file of `buildId` (lower-case hex)
/// left in the cache at `sinceSeconds` (the epoch's) or later. A source file's marker
/// is one of the build's "source..." files: any such new empty file goes.
void forgetMissMarkers(remote_file_kind_t kind, const std::string& buildId,
                       std::int64_t sinceSeconds);

}  // namespace FF_2_13
