// One search request as it travels from the front to the strategies and the client's
// callbacks, and the one place where its category picks the bin, sym or src operation of
// a client callback or of the search history:
//
//   const SearchRequest request{scSymbolFiles, "libx.so.debug", "/opt/libx.so", "9e10", ""};
//   notifyFilesFound(callback, request, valid);  // callback.symFilesFound(name, binary, ...)
//
// Everything between the front and the callbacks carries the request and never asks for
// its category again.
#pragma once

#include "ff_callbacks.h"
#include "ff_history.h"
#include "ff_types.h"

namespace FF_2_13 {

/// What is looked for. The names are borrowed: whoever builds the request keeps them
/// alive while it is used (the front its canonical copies, a callback the arguments of
/// its call). The front never leaves one null; a client calling a callback may.
struct SearchRequest {
    search_category_t category;
    /// The requested file, in canonical form when the front made the request.
    const char* fileName;
    /// Symbol and source files: the binary they belong to and its expected checksum.
    const char* binaryFile = nullptr;
    const char* checksum = nullptr;
    /// Symbol files: the binary's path on the system the result was recorded on.
    const char* remoteBinaryFile = nullptr;
};

/// The request's entry of a table in category order: bin, sym, src.
template <class T>
const T& ofCategory(const T (&byCategory)[3], const SearchRequest& request) {
    return byCategory[request.category - scBinaryFiles];
}

/// The request's search-started operation of `callback`; its answer.
bool notifySearchStarted(ISearchStartedCallback& callback, const SearchRequest& request,
                         IStringContainer& suggestions);
/// The request's files-found operation of `callback`; its choice.
ObjectPtr<IValidFile> notifyFilesFound(IFilesFoundCallback& callback, const SearchRequest& request,
                                       IValidFileIterator& valid);
/// The request's no-files-found operation of `callback`; what it supplies.
ObjectPtr<IValidFile> notifyNoFilesFound(INoFilesFoundCallback& callback,
                                         const SearchRequest& request, IValidator& validator,
                                         IInvalidFileIterator& invalid, IValidFileIterator& valid);

/// What `history` remembers for the request, or an empty pointer.
ObjectPtr<IFileAssociation> findAssociation(ISearchHistory& history, const SearchRequest& request);
/// Remembers `resolvedName` for the request in `history`.
void addAssociation(ISearchHistory& history, const SearchRequest& request,
                    const char* resolvedName);

}  // namespace FF_2_13
