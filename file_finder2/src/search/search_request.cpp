// The dispatch of a request to the operation of its category of a client callback or of
// the search history (which may be the client's own implementation, so it is reached
// through its interface too). Each use names its three operations; call() is the one
// switch on the category.
#include "search/search_request.h"

namespace FF_2_13 {

namespace {

// The bin, sym and src operation of one callback event or one use of the history. The
// bin one takes the file name, the other two the file name, binary and checksum; all
// three then take the same further arguments.
template <class Bin, class OfBinary>
struct Operations {
    Bin bin;
    OfBinary sym;
    OfBinary src;
};
template <class Bin, class OfBinary>
Operations(Bin, OfBinary, OfBinary) -> Operations<Bin, OfBinary>;

template <class Target, class Bin, class OfBinary, class... Rest>
auto call(Target& target, const Operations<Bin, OfBinary>& operations, const SearchRequest& r,
          Rest&... rest) {
    switch (r.category) {
        case scBinaryFiles:
            return (target.*operations.bin)(r.fileName, rest...);
        case scSymbolFiles:
            return (target.*operations.sym)(r.fileName, r.binaryFile, r.checksum, rest...);
        default:  // scSourceFiles: no request has another category
            return (target.*operations.src)(r.fileName, r.binaryFile, r.checksum, rest...);
    }
}

}  // namespace

bool notifySearchStarted(ISearchStartedCallback& callback, const SearchRequest& request,
                         IStringContainer& suggestions) {
    constexpr Operations started{&ISearchStartedCallback::binFileSearchStarted,
                                 &ISearchStartedCallback::symFileSearchStarted,
                                 &ISearchStartedCallback::srcFileSearchStarted};
    return call(callback, started, request, suggestions);
}

ObjectPtr<IValidFile> notifyFilesFound(IFilesFoundCallback& callback, const SearchRequest& request,
                                       IValidFileIterator& valid) {
    constexpr Operations found{&IFilesFoundCallback::binFilesFound,
                               &IFilesFoundCallback::symFilesFound,
                               &IFilesFoundCallback::srcFilesFound};
    return call(callback, found, request, valid);
}

ObjectPtr<IValidFile> notifyNoFilesFound(INoFilesFoundCallback& callback,
                                         const SearchRequest& request, IValidator& validator,
                                         IInvalidFileIterator& invalid, IValidFileIterator& valid) {
    constexpr Operations noneFound{&INoFilesFoundCallback::noBinFilesFound,
                                   &INoFilesFoundCallback::noSymFilesFound,
                                   &INoFilesFoundCallback::noSrcFilesFound};
    return call(callback, noneFound, request, validator, invalid, valid);
}

ObjectPtr<IFileAssociation> findAssociation(ISearchHistory& history, const SearchRequest& request) {
    constexpr Operations find{&ISearchHistory::findBinFileAssociation,
                              &ISearchHistory::findSymFileAssociation,
                              &ISearchHistory::findSrcFileAssociation};
    return call(history, find, request);
}

void addAssociation(ISearchHistory& history, const SearchRequest& request,
                    const char* resolvedName) {
    constexpr Operations add{&ISearchHistory::addBinFileAssociation,
                             &ISearchHistory::addSymFileAssociation,
                             &ISearchHistory::addSrcFileAssociation};
    call(history, add, request, resolvedName);  // the new association is not needed
}

}  // namespace FF_2_13
