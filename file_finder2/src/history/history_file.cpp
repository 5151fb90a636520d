// Keeping a search history across runs: a JSON file, written whole and atomically,
// read back entry by entry.
//
// Save:
//   1. copy the three maps at one moment (the history's shared lock, no file work under it);
//   2. build the document, each name a JSON string, escaped when it is not UTF-8
//      (files/json_names.h), so every byte string comes back exactly;
//   3. replace the file atomically (temporary file, flush, rename).
// Load:
//   1. read the file; a missing file is an empty history;
//   2. parse it; text that is not JSON, or not a JSON object, loads nothing;
//   3. walk "binaries", "symbols" and "sources", adding every valid entry through the
//      interface and logging every fault with where it is and what is wrong;
//   4. answer true only when nothing was wrong.
#include <boost/filesystem.hpp>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "base/log.h"
#include "files/json_names.h"
#include "history/search_history.h"
#include "platform/posix.h"

namespace fs = boost::filesystem;

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kHistoryFile;
constexpr int kFormatVersion = 1;

// Insertion order kept, so "version" leads and each entry reads file .. resolved.
using Json = nlohmann::ordered_json;

// The names of one entry as the file holds them.
struct EntryNames {
    std::string file;
    std::string binary;
    std::string checksum;
    std::string resolved;
};

// One category of the file: its member name, whether its entries carry "binary" and
// "checksum", where save finds it and how load adds an entry.
struct CategoryFormat {
    const char* member;
    bool keyedByBinary;
    std::vector<SearchHistory::Entry> SearchHistory::Snapshot::*entries;
    void (*add)(ISearchHistory& history, const EntryNames& names);
};

const CategoryFormat kCategories[] = {
    {"binaries", false, &SearchHistory::Snapshot::binaries,
     [](ISearchHistory& history, const EntryNames& n) {
         history.addBinFileAssociation(n.file.c_str(), n.resolved.c_str());
     }},
    {"symbols", true, &SearchHistory::Snapshot::symbols,
     [](ISearchHistory& history, const EntryNames& n) {
         history.addSymFileAssociation(n.file.c_str(), n.binary.c_str(), n.checksum.c_str(),
                                       n.resolved.c_str());
     }},
    {"sources", true, &SearchHistory::Snapshot::sources,
     [](ISearchHistory& history, const EntryNames& n) {
         history.addSrcFileAssociation(n.file.c_str(), n.binary.c_str(), n.checksum.c_str(),
                                       n.resolved.c_str());
     }},
};

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

Json buildDocument(const SearchHistory::Snapshot& snapshot) {
    Json document = Json::object();
    document["version"] = kFormatVersion;
    for (const CategoryFormat& category : kCategories) {
        Json entries = Json::array();
        for (const SearchHistory::Entry& entry : snapshot.*category.entries) {
            Json item = Json::object();
            item["file"] = nameToJson<Json>(entry.key.fileName);
            if (category.keyedByBinary) {
                item["binary"] = nameToJson<Json>(entry.key.binaryFile);
                item["checksum"] = nameToJson<Json>(entry.key.checksum);
            }
            item["resolved"] = nameToJson<Json>(entry.resolvedName);
            entries.push_back(std::move(item));
        }
        document[category.member] = std::move(entries);
    }
    return document;
}

// Reads the whole file. `missing` is set, and true returned, when there is no file.
bool readFile(const std::string& file, std::string& text, bool& missing, std::string& fault) {
    boost::system::error_code ec;
    const fs::file_status status = fs::status(file, ec);
    missing = status.type() == fs::file_not_found;
    if (missing) return true;
    if (ec) {
        fault = "cannot be examined: " + ec.message();
        return false;
    }
    if (status.type() != fs::regular_file) {
        fault = "is not a regular file";
        return false;
    }
    std::ifstream in(file, std::ios::binary);
    std::ostringstream contents;
    if (in) contents << in.rdbuf();
    if (!in || in.bad()) {
        fault = "cannot be read";
        return false;
    }
    text = contents.str();
    return true;
}

// Loads one category's entries; logs each fault and answers whether there was none.
bool loadCategory(ISearchHistory& history, const CategoryFormat& category, const Json& entries,
                  const std::string& file) {
    if (!entries.is_array()) {
        FF_LOG_ERROR(kLogSource, "Search history file " << quoted(file) << ": \"" << category.member
                                                        << "\" is " << entries.type_name()
                                                        << ", not an array; skipped.");
        return false;
    }
    bool allValid = true;
    for (size_t index = 0; index < entries.size(); ++index) {
        const Json& entry = entries[index];
        std::string faults;
        EntryNames names;
        if (!entry.is_object()) {
            faults = std::string("is ") + entry.type_name() + ", not an object";
        } else {
            auto readName = [&](const char* member, std::string& name) {
                std::string fault;
                if (!entry.contains(member))
                    fault = "is missing";
                else if (nameFromJson(entry[member], name, fault))
                    return;
                faults += (faults.empty() ? "" : "; ") + quoted(member) + " " + fault;
            };
            readName("file", names.file);
            if (category.keyedByBinary) {
                readName("binary", names.binary);
                readName("checksum", names.checksum);
            }
            readName("resolved", names.resolved);
        }
        if (!faults.empty()) {
            FF_LOG_ERROR(kLogSource, "Search history file " << quoted(file) << ": "
                                                            << category.member << "[" << index
                                                            << "] " << faults << "; skipped.");
            allValid = false;
            continue;
        }
        category.add(history, names);
    }
    return allValid;
}

}  // namespace

bool saveSearchHistory(const ObjectPtr<ISearchHistory>& history, const char* file) {
    FF_TRACE_SCOPE(kLogSource,
                   "bool saveSearchHistory(const ObjectPtr<ISearchHistory>&, const char*)");
    if (!history || !file) return false;
    // Only our own maps can be enumerated; a client's implementation offers lookups only.
    const auto* own = dynamic_cast<const SearchHistory*>(history.get());
    if (!own) {
        FF_LOG_ERROR(kLogSource, "Search history not saved to "
                                     << quoted(file)
                                     << ": the history was not made by ISearchHistory::create().");
        return false;
    }
    const SearchHistory::Snapshot snapshot = own->snapshot();
    // Every name is well-formed UTF-8 or escaped by now, so the strict writer cannot throw.
    const std::string text = buildDocument(snapshot).dump(2) + "\n";
    std::string fault;
    if (!posix::replaceFileAtomically(file, text, fault)) {
        FF_LOG_ERROR(kLogSource,
                     "Search history not saved to " << quoted(file) << ": " << fault << ".");
        return false;
    }
    FF_LOG_INFO(kLogSource, "Search history saved to "
                                << quoted(file) << ": " << snapshot.binaries.size() << " binary, "
                                << snapshot.symbols.size() << " symbol, " << snapshot.sources.size()
                                << " source associations.");
    return true;
}

bool loadSearchHistory(const ObjectPtr<ISearchHistory>& history, const char* file) {
    FF_TRACE_SCOPE(kLogSource,
                   "bool loadSearchHistory(const ObjectPtr<ISearchHistory>&, const char*)");
    if (!history || !file) return false;
    std::string text, fault;
    bool missing = false;
    if (!readFile(file, text, missing, fault)) {
        FF_LOG_ERROR(kLogSource, "Search history file " << quoted(file) << " " << fault << ".");
        return false;
    }
    if (missing) {
        FF_LOG_INFO(kLogSource, "No search history file " << quoted(file) << "; nothing loaded.");
        return true;
    }
    Json document;
    try {
        document = Json::parse(text);
    } catch (const Json::exception& error) {  // a syntax error, or a number out of range
        FF_LOG_ERROR(kLogSource,
                     "Search history file " << quoted(file) << " is not JSON: " << error.what());
        return false;
    }
    if (!document.is_object()) {
        FF_LOG_ERROR(kLogSource, "Search history file " << quoted(file) << " holds "
                                                        << document.type_name()
                                                        << ", not an object; nothing loaded.");
        return false;
    }

    bool allValid = true;
    // A file of a later version is read for what this version understands of it.
    auto version = document.find("version");
    if (version == document.end() || !version->is_number_integer() ||
        version->get<long long>() != kFormatVersion) {
        FF_LOG_ERROR(kLogSource,
                     "Search history file "
                         << quoted(file) << ": \"version\" is "
                         << (version == document.end() ? std::string("missing") : version->dump())
                         << ", not " << kFormatVersion << "; reading what is understood.");
        allValid = false;
    }
    for (auto member = document.begin(); member != document.end(); ++member) {
        if (member.key() == "version") continue;
        const CategoryFormat* category = nullptr;
        for (const CategoryFormat& known : kCategories)
            if (member.key() == known.member) category = &known;
        if (!category) {
            FF_LOG_ERROR(kLogSource, "Search history file " << quoted(file) << ": unknown category "
                                                            << quoted(member.key())
                                                            << "; skipped.");
            allValid = false;
            continue;
        }
        if (!loadCategory(*history, *category, member.value(), file)) allValid = false;
    }
    return allValid;
}

}  // namespace FF_2_13
