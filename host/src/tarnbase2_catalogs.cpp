// The registry of message catalogs, with the two built-in English catalogs.
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "tarnbase2/tarnbase2.h"

namespace tarnbase2 {

namespace {

using QORAL_2_18::i18n::catalog_t;

// Texts of the validation failures. A few of them are filled with an empty argument by
// the source-file validators, so those name the file last, where nothing missing shows.
catalog_t commonCatalog() {
    return catalog_t{
        {"BinChecksumMismatch",
         "The checksum of the binary file {arg1} does not match the recorded checksum."},
        {"SymChecksumMismatch",
         "The checksum of the symbol file {arg1} does not match the recorded checksum."},
        {"SrcChecksumMismatch",
         "The checksum of the source file {arg1} does not match the recorded checksum."},
        {"ModificationTimeMismatch",
         "The modification time of the source file differs from the recorded one. {arg1}"},
        {"SizeMismatch", "The size of the source file differs from the recorded one. {arg1}"},
        {"SourceFileUpToDate",
         "The source file was changed after its binary module was built. {arg1}"},
        {"FileIsDirectory", "The path names a directory, not a file."},
        {"FileIsNotReadable", "The file {arg1} cannot be opened for reading."},
        {"FileDoesNotExist", "The file {arg1} does not exist or is not a regular file."},
        {"InvalidSymbolFile", "The file {arg1} is not a valid symbol file."},
        {"FileArchMismatch",
         "The architecture of the file {arg1} does not match the recorded architecture."},
        {"FileIsNotABinaryModule", "The file {arg1} is not a binary module."},
        {"BinFileReadingError", "The binary file {arg1} could not be read."},
        {"BinFileUnsupportedFormat", "The format of the binary file {arg1} is not supported."},
        {"FileIsNotRegular", "The file {arg1} is not a regular file."},
        {"NoDataForSourceFileValidation",
         "There is no reference file to validate the source file against. {arg1}"},
        // The identity validators': the candidate, what it is, what it should be.
        {"SymBuildIdMismatch",
         "The build ID of the symbol file {arg1} ({arg2}) is not the build ID of the binary "
         "({arg3})."},
        {"BinBuildIdMismatch",
         "The build ID of the binary file {arg1} ({arg2}) is not the expected build ID ({arg3})."},
        {"DebugLinkCrcMismatch",
         "The CRC of the symbol file {arg1} ({arg2}) is not the CRC that the binary's debug link "
         "records ({arg3})."},
        {"ElfTargetMismatch", "The file {arg1} is built for {arg2}, the binary for {arg3}."},
        {"NoDebugInformation",
         "The file {arg1} carries no debug information, so it is not a symbol file."},
    };
}

catalog_t commandLineCatalog() {
    return catalog_t{
        {"CannotMatchFileWithChecksumMismatch",
         "The file {%1} does not match the checksum recorded on the remote system."},
    };
}

// Catalogs are handed out as plain pointers that callers use without holding anything,
// so every catalog ever registered is kept until the process ends, also after it was
// replaced or removed. Hosts register catalogs rarely (at start, on a language switch),
// so the cost stays small.
class Registry {
public:
    Registry() : m_common(commonCatalog()), m_commandLine(commandLineCatalog()) {
        restoreBuiltIns();
    }

    const catalog_t* find(const std::string& name) {
        std::lock_guard<std::mutex> lock(m_guard);
        const auto found = m_byName.find(name);
        return found == m_byName.end() ? nullptr : found->second;
    }

    void put(const std::string& name, catalog_t catalog) {
        std::lock_guard<std::mutex> lock(m_guard);
        m_owned.push_back(std::make_unique<const catalog_t>(std::move(catalog)));
        m_byName[name] = m_owned.back().get();
    }

    bool remove(const std::string& name) {
        std::lock_guard<std::mutex> lock(m_guard);
        return m_byName.erase(name) != 0;
    }

    void restoreBuiltIns() {
        std::lock_guard<std::mutex> lock(m_guard);
        m_byName["file_finder_common"] = &m_common;
        m_byName["file_finder.climgr"] = &m_commandLine;
    }

private:
    const catalog_t m_common;
    const catalog_t m_commandLine;
    std::mutex m_guard;
    std::map<std::string, const catalog_t*> m_byName;
    std::vector<std::unique_ptr<const catalog_t>> m_owned;
};

Registry& registry() {
    static Registry instance;
    return instance;
}

}  // namespace

const catalog_t* getMessageCatalog(const std::string& name) {
    return registry().find(name);
}

void registerMessageCatalog(const std::string& name, catalog_t catalog) {
    registry().put(name, std::move(catalog));
}

bool removeMessageCatalog(const std::string& name) {
    return registry().remove(name);
}

void restoreBuiltInMessageCatalogs() {
    registry().restoreBuiltIns();
}

}  // namespace tarnbase2
