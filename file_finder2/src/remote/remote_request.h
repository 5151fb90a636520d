// What a search asks its remote source for: the build-id a request names, through a
// ".build-id/xx/rest" name or the build-id of the binary it belongs to, and the kind of
// file its category wants.
//
//   std::optional<RemoteRequest> remote = remoteRequestOf(request);
//   if (remote) ObjectPtr<IRemoteFile> file = fetchFrom(*source, *remote);
#pragma once

#include <optional>
#include <string>

#include "ff_remote_source.h"
#include "search/search_request.h"

namespace FF_2_13 {

struct RemoteRequest {
    remote_file_kind_t kind = rfDebugFile;
    std::string buildId;     ///< lower-case hex
    std::string sourcePath;  ///< rfSource: the recorded path
};

/// The remote request of `request`; none when no build-id is known for it (a binary not
/// named by its build-id, a symbol or source file whose binary has none or cannot be read)
/// or a source file is not named by an absolute path.
std::optional<RemoteRequest> remoteRequestOf(const SearchRequest& request);

/// The build-id of a ".build-id/3a/9f00c1d2e4" name (".debug" after it when `debugFile`);
/// "" for any other name.
std::string buildIdOfName(const std::string& name, bool debugFile);

/// `source`'s answer to `request`; a miss with the reason when the source throws or gives
/// no answer (the source may be the client's).
ObjectPtr<IRemoteFile> fetchFrom(IRemoteSource& source, const RemoteRequest& request);

}  // namespace FF_2_13
