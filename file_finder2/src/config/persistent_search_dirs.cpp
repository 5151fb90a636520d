// The persistent search directory container: an editable container whose every change
// is written, as the property "searchDirs", into the host's configuration storage.
//
// The directories themselves live in an EditableSearchDirContainer shared by every
// handle on one file; a lock around "change, then write" keeps the file in step with
// the list when several threads change it.
#include "ff_persistent_dirs.h"

#include <boost/filesystem.hpp>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>

#include "base/log.h"
#include "config/search_dir_lists.h"
#include "files/json_names.h"
#include "tarnbase2/config_storage.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kPersistentDirs;
constexpr char kProperty[] = "searchDirs";

using json = nlohmann::json;

// The member `key` of the object `parent`, or null with the reason in `problem`. `path`
// names the member in messages; with `isObject` it must be an object itself.
const json* member(const json& parent, const char* key, const std::string& path,
                   std::string& problem, bool isObject = false) {
    auto found = parent.find(key);
    if (found == parent.end()) {
        problem = "missing \"" + path + "\"";
        return nullptr;
    }
    if (isObject && !found->is_object()) {
        problem = "\"" + path + "\" is not an object";
        return nullptr;
    }
    return &*found;
}

// One entry of the list; false with what was wrong in `problem`.
bool readEntry(const json& entry, search_category_t& category, Dir& dir, std::string& problem) {
    if (!entry.is_object()) {
        problem = "the entry is not an object";
        return false;
    }
    const json* searchCategory = member(entry, "searchCategory", "searchCategory", problem, true);
    if (!searchCategory) return false;
    const json* word = member(*searchCategory, "category", "searchCategory.category", problem);
    if (!word) return false;
    if (!word->is_string() || !categoryFromWord(word->get<std::string>(), category)) {
        problem = "unknown category " + word->dump();
        return false;
    }

    const json* directory = member(entry, "searchDirectory", "searchDirectory", problem, true);
    if (!directory) return false;
    const json* name = member(*directory, "name", "searchDirectory.name", problem);
    if (!name) return false;
    if (!nameFromJson(*name, dir.name, problem)) {
        problem = "\"searchDirectory.name\" " + problem;
        return false;
    }
    const json* recursive = member(*directory, "recursive", "searchDirectory.recursive", problem);
    if (!recursive) return false;
    if (!recursive->is_boolean()) {
        problem = "\"searchDirectory.recursive\" is not true or false: " + recursive->dump();
        return false;
    }
    dir.recursive = recursive->get<bool>();
    const json* priority = member(*directory, "priority", "searchDirectory.priority", problem);
    if (!priority) return false;
    if (*priority == "high" || *priority == "low") {
        dir.highPriority = *priority == "high";
        return true;
    }
    problem = "\"searchDirectory.priority\" is not \"high\" or \"low\": " + priority->dump();
    return false;
}

std::string serialise(const EditableSearchDirContainer& dirs) {
    json list = json::array();
    for (search_category_t c : {scBinaryFiles, scSymbolFiles, scSourceFiles, scAllFiles}) {
        ObjectPtr<FilteredDirList> dirList = dirs.getDirListForCategory(c);
        if (!dirList) continue;
        for (const Dir& dir : *dirList->snapshot()) {
            list.push_back({{"searchCategory", {{"category", categoryWord(c)}}},
                            {"searchDirectory",
                             {{"name", nameToJson<json>(dir.name)},
                              {"recursive", dir.recursive},
                              {"priority", dir.highPriority ? "high" : "low"}}}});
        }
    }
    return list.dump();
}

// The directories of one file, shared by every handle on it.
class PersistentDirs {
public:
    explicit PersistentDirs(const std::string& fileName)
        : m_storage(fileName), m_dirs(new EditableSearchDirContainer()) {
        load();
    }

    EditableSearchDirContainer& dirs() { return *m_dirs; }
    FFLock& lock() { return m_lock; }
    const std::string& fileName() const { return m_storage.fileName(); }
    bool isSaved() {
        FFLockWrap guard(&m_lock);
        return m_saved;
    }

    // Writes the list when it differs from what the file holds, or when `always`.
    // The caller holds lock().
    bool persist(bool always) {
        std::string text = serialise(*m_dirs);
        if (!always && m_saved && text == m_savedText) return true;
        tarnbase2::ConfigStorage::WriteResult result = m_storage.setProperty(kProperty, text);
        if (!result.ok) {
            m_saved = false;
            FF_LOG_ERROR(kLogSource,
                         "Search directories not saved to " << fileName() << ": " << result.error);
            return false;
        }
        if (!result.keptAs.empty())
            FF_LOG_INFO(kLogSource, "Search directory file " << fileName()
                                                             << " had unreadable content; kept as "
                                                             << result.keptAs);
        m_saved = true;
        m_savedText = std::move(text);
        return true;
    }

private:
    void load() {
        const std::string problem = m_storage.loadProblem();
        if (!problem.empty())
            FF_LOG_ERROR(kLogSource, "Search directories not loaded: " << problem);
        bool damaged = !problem.empty();
        std::string text;
        if (m_storage.getProperty(kProperty, text)) {
            json list = json::parse(text, nullptr, false);  // the storage's own dump
            if (!list.is_array()) {
                FF_LOG_ERROR(kLogSource, "Search directories not loaded: \""
                                             << kProperty << "\" in " << fileName()
                                             << " is not a list");
                damaged = true;
            } else {
                size_t position = 0;
                for (const json& entry : list) {
                    ++position;
                    search_category_t category = scAllFiles;
                    Dir dir;
                    std::string entryProblem;
                    if (readEntry(entry, category, dir, entryProblem)) {
                        m_dirs->addDirectory(category, dir.name.c_str(), dir.recursive,
                                             dir.highPriority);
                        continue;
                    }
                    FF_LOG_ERROR(kLogSource, "Search directory entry "
                                                 << position << " of " << fileName()
                                                 << " skipped: " << entryProblem);
                    damaged = true;
                }
            }
        }
        if (damaged) {
            // The next write keeps the file as it is now; until then it stays untouched.
            m_storage.keepDamagedFile();
            m_savedText.clear();
        } else {
            m_savedText = serialise(*m_dirs);
        }
    }

    tarnbase2::ConfigStorage m_storage;
    ObjectPtr<EditableSearchDirContainer> m_dirs;
    FFLock m_lock;
    std::string m_savedText;  // what the file holds, as this list would write it
    bool m_saved = true;
};

// One PersistentDirs per file and process, while some handle keeps it.
std::shared_ptr<PersistentDirs> dirsForFile(const std::string& fileName) {
    static std::mutex registryLock;
    static std::map<std::string, std::weak_ptr<PersistentDirs>> registry;

    boost::system::error_code ec;
    // One file under two spellings is one list; a name that cannot be resolved keys as it is.
    std::string key = boost::filesystem::weakly_canonical(fileName, ec).string();
    if (ec) key = fileName;

    std::lock_guard<std::mutex> guard(registryLock);
    for (auto it = registry.begin(); it != registry.end();)
        it = it->second.expired() ? registry.erase(it) : std::next(it);
    std::shared_ptr<PersistentDirs> dirs = registry[key].lock();
    if (!dirs) {
        dirs = std::make_shared<PersistentDirs>(fileName);
        registry[key] = dirs;
    }
    return dirs;
}

class PersistentSearchDirContainer : public RefCountImpl<IPersistentSearchDirContainer> {
public:
    PersistentSearchDirContainer(std::string fileName, std::shared_ptr<PersistentDirs> dirs)
        : m_fileName(std::move(fileName)), m_shared(std::move(dirs)) {}

    ObjectPtr<ISearchDirIterator> enumerate(search_category_t category) const override {
        return m_shared->dirs().enumerate(category);
    }

    bool addDirectory(search_category_t category, const char* name, bool recursive,
                      bool highPriority) override {
        FF_TRACE_SCOPE(kLogSource,
                       "bool PersistentSearchDirContainer::addDirectory(search_category_t, "
                       "const char*, bool, bool)");
        FFLockWrap guard(&m_shared->lock());
        if (!m_shared->dirs().addDirectory(category, name, recursive, highPriority)) return false;
        m_shared->persist(false);
        return true;
    }

    bool clear(search_category_t category) override {
        FF_TRACE_SCOPE(kLogSource, "bool PersistentSearchDirContainer::clear(search_category_t)");
        FFLockWrap guard(&m_shared->lock());
        if (!m_shared->dirs().clear(category)) return false;
        m_shared->persist(false);
        return true;
    }

    const char* storageFile() const override { return m_fileName.c_str(); }
    bool isSaved() const override { return m_shared->isSaved(); }
    bool save() override {
        FF_TRACE_SCOPE(kLogSource, "bool PersistentSearchDirContainer::save()");
        FFLockWrap guard(&m_shared->lock());
        return m_shared->persist(true);
    }

private:
    const std::string m_fileName;
    std::shared_ptr<PersistentDirs> m_shared;
};

}  // namespace

ObjectPtr<IPersistentSearchDirContainer> IPersistentSearchDirContainer::create(
    const char* storageFile) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IPersistentSearchDirContainer> IPersistentSearchDirContainer::create("
                   "const char*)");
    if (!storageFile || !*storageFile) return ObjectPtr<IPersistentSearchDirContainer>();
    return ObjectPtr<IPersistentSearchDirContainer>(
        new PersistentSearchDirContainer(storageFile, dirsForFile(storageFile)));
}

}  // namespace FF_2_13
