// File: file_locator.h
//
// The library's side of the FileLocator seam (search_request.h): the locator that runs
// each request of the search commands as a search of the library, built from the
// command's search settings.
#pragma once

#include <memory>

#include "core/remote_fetches.h"
#include "core/search_options.h"
#include "core/search_request.h"

namespace ffcli {

/// The locator for `settings`; `remote` (may be empty) is asked for what no step found.
std::unique_ptr<FileLocator> makeLibraryLocator(
    const SearchSettings& settings,
    const FF_2_13::ObjectPtr<RemoteFetches>& remote = FF_2_13::ObjectPtr<RemoteFetches>());

}  // namespace ffcli
