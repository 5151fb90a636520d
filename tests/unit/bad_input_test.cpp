// Bad input at every public entry point: awkward names (null, empty, dot names, ".." climbs,
// names around and far beyond PATH_MAX, a component over NAME_MAX, high bytes, newlines,
// names of another system) through each function that takes a name. Every outcome, its
// answer or "logic_error" for the documented failure on null, must match
// tests/data/bad_input.golden; nothing may crash and no other exception may leave.
// FF_UPDATE_GOLDEN=1 rewrites the golden file after an intended change: review its diff.
//
// Calls that touch files get a fresh tree <tmp>/d1/d2/d3 each, with the working directory at
// d3: relative names land below it, "../.." stays inside <tmp>, and "/x" is taken as d3/x.
// Outcomes show d3 as <sandbox>.
#include <gtest/gtest.h>

#include <boost/filesystem.hpp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "search/files_finder.h"
#include "file_finder.h"
#include "gzip.h"
#include "search_doubles.h"
#include "tarnbase2/tarnbase2.h"
#include "temp_dir.h"

namespace fs = boost::filesystem;
using namespace FF_2_13;

namespace {

const char kGoldenFile[] = FF_TEST_DATA_DIR "/bad_input.golden";

struct BadInput {
    std::string label;
    bool isNull;
    std::string text;
};

// A relative name of exactly `size` bytes made of 8-byte components.
std::string longName(size_t size) {
    std::string name;
    while (name.size() < size) name += "long-nm/";
    name.resize(size);
    name.back() = 'x';
    return name;
}

std::vector<BadInput> badInputs() {
    std::string highBytes;
    for (int c = 0x80; c <= 0xFF; ++c) highBytes.push_back(static_cast<char>(c));
    // clang-format off
    return {
        {"null", true, ""}, {"empty", false, ""}, {"root", false, "/"}, {"dot", false, "."},
        {"dot-dot", false, ".."}, {"climbing relative", false, "a/../../etc/passwd"},
        {"climbing absolute", false, "/../../x"}, {"4095 bytes", false, longName(4095)},
        {"4096 bytes", false, longName(4096)}, {"4097 bytes", false, longName(4097)},
        {"65536 bytes", false, longName(65536)},
        {"256-byte component", false, "d/" + std::string(256, 'c')},
        {"bytes 0x80-0xFF", false, highBytes}, {"newlines", false, "dir\nname\n"},
        {"drive path", false, "C:\\dir\\x.pdb"}, {"share path", false, "\\\\srv\\share\\x"},
        {"drive-relative", false, "D:x"}, {"one backslash", false, "\\x\\y"},
        {"mixed drive", false, "C:\\dir/sub\\x.pdb"}, {"mixed absolute", false, "/a\\b/../c\\d/"},
    };
    // clang-format on
}

std::string escaped(const std::string& text) {
    std::string out = "\"";
    char hex[8];
    for (unsigned char c : text) {
        std::snprintf(hex, sizeof hex, "\\x%02x", c);
        out += c == '"' || c == '\\'   ? std::string{'\\', static_cast<char>(c)}
               : c == '\n'             ? std::string("\\n")
               : c < 0x20 || c >= 0x7F ? std::string(hex)
                                       : std::string(1, static_cast<char>(c));
    }
    return out + "\"";
}

// A string as the golden file shows it: quoted when short, else its length, first bytes and
// its 64-bit FNV-1a fingerprint.
std::string show(const std::string& text) {
    if (text.size() <= 128) return escaped(text);
    uint64_t hash = 14695981039346656037ull;
    for (unsigned char c : text) hash = (hash ^ c) * 1099511628211ull;
    std::ostringstream out;
    out << "<" << text.size() << " bytes " << escaped(text.substr(0, 24)) << "... fnv " << std::hex
        << hash << ">";
    return out.str();
}
std::string show(const char* text) {
    return show(std::string(text));
}
std::string show(bool answer) {
    return answer ? "true" : "false";
}
std::string show(const ObjectPtr<IChecksum>& sum) {
    return sum ? show(sum->value()) : "none";
}
std::string show(const ObjectPtr<IFileAssociation>& association) {
    return association ? show(association->resolvedName()) : "none";
}
std::string show(const ObjectPtr<IValidFile>& file) {
    return file ? show(file->name()) + " step " + std::to_string(file->searchStep()) : "none";
}

// Every category's directories, as "category:name" with R (recursive) and H (high).
template <class Enumerate>
std::string showDirs(Enumerate enumerate) {
    std::string out = "[";
    const char* name;
    bool recursive, high;
    for (search_category_t c : {scBinaryFiles, scSymbolFiles, scSourceFiles, scAllFiles}) {
        ObjectPtr<ISearchDirIterator> it = enumerate(c);
        if (!it) continue;
        for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next())
            out += (out.size() > 1 ? ", " : "") + std::to_string(c) + ":" + show(name) +
                   (recursive ? " R" : "") + (high ? " H" : "");
    }
    return out + "]";
}
std::string show(const ISearchDirContainer& dirs) {
    return showDirs([&](search_category_t c) { return dirs.enumerate(c); });
}
// What a search would read: its directories, the archive directories that serve every
// category, the cache directory.
std::string show(ISearchEnv& env) {
    return "dirs " + showDirs([&](search_category_t c) { return env.searchDirs(c); }) +
           " archive " + showDirs([&](search_category_t c) {
               return c == scAllFiles ? env.archiveDirs(c) : ObjectPtr<ISearchDirIterator>();
           }) +
           " cache " + show(env.cacheDir());
}

// "ok" or "logic_error" for each call in turn; any other exception leaves.
std::string eachOf(std::initializer_list<std::function<void()>> calls) {
    std::string out;
    for (const std::function<void()>& call : calls) {
        out += out.empty() ? "" : " ";
        try {
            call();
            out += "ok";
        } catch (const std::logic_error&) {
            out += "logic_error";
        }
    }
    return out;
}

ObjectPtr<IEditableSearchDirContainer> dirsOf(const char* name) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scAllFiles, name, true, true);
    return dirs;
}

// A context of its own per call: the manager keeps registrations for the process's life.
ObjectPtr<IResolutionContext> freshContext() {
    static int made = 0;
    const std::string id = "/bad-input/" + std::to_string(++made);
    return IResolutionContextMgr::create()->createFileSystemContext(id.c_str(), false);
}

// A search of client "c" whose one search directory is the sandbox, without the system
// directories (what they hold differs from machine to machine).
ObjectPtr<IFileSearch> sandboxSearch(ObjectPtr<IResolutionContext> context = freshContext()) {
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    mgr->registerSearchDirs(*context, dirsOf(fs::current_path().c_str()), "sandbox");
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    for (search_category_t c : {scBinaryFiles, scSymbolFiles, scSourceFiles})
        steps->setStep(ssSystemDirs, c, false);
    mgr->registerSearchStepsConfigurator(*context, "c", steps);
    return mgr->createFileSearch(*context, "c", nullptr);
}

std::string parsed(bool (*parse)(const char*, IEditableSearchDirContainer&, std::string&),
                   const char* text) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    std::string error;
    return parse(text, *dirs, error) ? "true " + show(*dirs) : "false: " + show(error);
}

// archiveFile's code, and on 0 or 6 where the copy stands and whether it is whole: a
// regular file (not a link) whose MD5 names its directory.
std::string archived(const char* file, const char* dir, const char* sub) {
    std::string path;
    const unsigned int code = utils::archiveFile(file, dir, sub, path, false);
    if (code != utils::kArchiveDone && code != utils::kArchiveAlreadyThere)
        return std::to_string(code);
    ObjectPtr<IChecksum> md5 =
        IChecksumCalculator::create()->calculateChecksum(path.c_str(), ctMD5);
    const bool whole =
        !fs::is_symlink(path) && md5 && fs::path(path).parent_path().filename() == md5->value();
    return std::to_string(code) + " " + show(path) + (whole ? " whole" : " NOT WHOLE");
}

// The tree the calls that touch files run in; see the top of the file.
class Sandbox {
public:
    Sandbox() : m_base(m_tmp / "d1/d2/d3"), m_previousDirectory(fs::current_path()) {}
    ~Sandbox() { fs::current_path(m_previousDirectory); }

    void reset() {
        fs::current_path(m_tmp.path());
        fs::remove_all(m_tmp / "d1");
        m_tmp.makeFile("d1/d2/d3/image", "boot code " + fftest::gzip("the kernel proper"));
        fs::current_path(m_base);
    }
    // No input climbs more than two levels, so every name stays inside <tmp>. A share name
    // is absolute once canonical ("//srv/share/x"), so it is kept below d3 too, as one odd
    // element.
    std::string place(const std::string& name) const {
        if (!name.empty() && name[0] == '/') return m_base + name;
        return name.rfind("\\\\", 0) == 0 ? m_base + "/" + name : name;
    }
    std::string hide(std::string text) const {
        for (size_t at; (at = text.find(m_base)) != std::string::npos;)
            text.replace(at, m_base.size(), "<sandbox>");
        return text;
    }

private:
    fftest::TempDir m_tmp;
    const std::string m_base;
    const fs::path m_previousDirectory;
};

struct EntryPoint {
    const char* call;  // NAME stands for the input
    bool touchesFiles;
    std::function<std::string(const char* name)> outcome;
};

std::vector<EntryPoint> entryPoints() {
    using namespace utils;
    return {
        {"addSubPart(NAME, \"sub\")", false, [](auto n) { return show(addSubPart(n, "sub")); }},
        {"addSubPart(\"/base\", NAME)", false, [](auto n) { return show(addSubPart("/base", n)); }},
        {"getCanonicalName(NAME, false)", false,
         [](auto n) { return show(getCanonicalName(n, false)); }},
        {"getCanonicalName(NAME, true)", false,
         [](auto n) { return show(getCanonicalName(n, true)); }},
        {"compareCanonicalFileNames(NAME, \"m\")", false,
         [](auto n) { return std::to_string(compareCanonicalFileNames(n, "m")); }},
        {"compareCanonicalFileNames(\"m\", NAME)", false,
         [](auto n) { return std::to_string(compareCanonicalFileNames("m", n)); }},
        {"getFileNameOnly(NAME)", false, [](auto n) { return show(getFileNameOnly(n)); }},
        {"getFileNamePath(NAME)", false, [](auto n) { return show(getFileNamePath(n)); }},
        {"getFileNameBase(NAME)", false, [](auto n) { return show(getFileNameBase(n)); }},
        {"getFileNameExtension(NAME)", false, [](auto n) { return show(getFileNameExtension(n)); }},
        {"changeFileNameExtension(NAME, \".debug\")", false,
         [](auto n) { return show(changeFileNameExtension(n, ".debug")); }},
        {"changeFileNameExtension(\"/a/b.so\", NAME)", false,
         [](auto n) { return show(changeFileNameExtension("/a/b.so", n)); }},
        {"isAbsolutePath(NAME)", false, [](auto n) { return show(isAbsolutePath(n)); }},
        {"toUpper(NAME)", false, [](auto n) { return show(toUpper(n)); }},
        {"isStringEmpty(NAME)", false, [](auto n) { return show(isStringEmpty(n)); }},
        {"isDirectory(NAME)", true, [](auto n) { return show(isDirectory(n)); }},
        {"fileExists(NAME)", true, [](auto n) { return show(fileExists(n)); }},
        {"removeFile(NAME)", true, [](auto n) { return show(removeFile(n)); }},
        {"createDir(NAME)", true, [](auto n) { return show(createDir(n)); }},
        {"extractVmlinux(NAME, \"vmlinux\")", true,
         [](auto n) { return show(extractVmlinux(n, "vmlinux")); }},
        {"extractVmlinux(\"image\", NAME), then fileExists(NAME)", true,
         [](auto n) {
             const bool extracted = extractVmlinux("image", n);
             return show(extracted) + ", " + show(n && fileExists(n));
         }},
        {"IChecksumCalculator::calculateChecksum(NAME, ctMD5)", true,
         [](auto n) { return show(IChecksumCalculator::create()->calculateChecksum(n, ctMD5)); }},
        {"IChecksumCalculator::fromString(ctSHA1, NAME)", false,
         [](auto n) { return show(IChecksumCalculator::create()->fromString(ctSHA1, n)); }},
        {"IEditableSearchDirContainer: addDirectory(scSymbolFiles, NAME, true, false), enumerate",
         false,
         [](auto n) {
             ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
             const bool added = dirs->addDirectory(scSymbolFiles, n, true, false);
             return show(added) + " " + show(*dirs);
         }},
        {"IPersistentSearchDirContainer::create(NAME), addDirectory(scAllFiles, \"/d\"), isSaved",
         true,
         [](auto n) -> std::string {
             ObjectPtr<IPersistentSearchDirContainer> dirs =
                 IPersistentSearchDirContainer::create(n);
             if (!dirs) return "none";
             dirs->addDirectory(scAllFiles, "/d", false, false);
             return "saved " + show(dirs->isSaved());
         }},
        {"IPersistentSearchDirContainer \"dirs.json\": addDirectory(scAllFiles, NAME, false, "
         "true), reloaded",
         true,
         [](auto n) {
             const bool added = IPersistentSearchDirContainer::create("dirs.json")
                                    ->addDirectory(scAllFiles, n, false, true);
             return show(added) + " " + show(*IPersistentSearchDirContainer::create("dirs.json"));
         }},
        {"ISearchHistory: addBinFileAssociation(NAME, NAME), findBinFileAssociation(NAME)", false,
         [](auto n) {
             ObjectPtr<ISearchHistory> history = ISearchHistory::create();
             const std::string added = show(history->addBinFileAssociation(n, n));
             return added + ", " + show(history->findBinFileAssociation(n));
         }},
        {"ISearchHistory: addSymFileAssociation(NAME, NAME, NAME, \"/r\"), find", false,
         [](auto n) {
             ObjectPtr<ISearchHistory> history = ISearchHistory::create();
             const std::string added = show(history->addSymFileAssociation(n, n, n, "/r"));
             return added + ", " + show(history->findSymFileAssociation(n, n, n));
         }},
        {"ISearchHistory: addSrcFileAssociation(\"s.c\", NAME, \"\", NAME), saved to and loaded "
         "from \"h.json\", found",
         true,
         [](auto n) {
             ObjectPtr<ISearchHistory> history = ISearchHistory::create();
             history->addSrcFileAssociation("s.c", n, "", n);
             const bool saved = saveSearchHistory(history, "h.json");
             ObjectPtr<ISearchHistory> loaded = ISearchHistory::create();
             const bool read = loadSearchHistory(loaded, "h.json");
             return show(saved) + ", " + show(read) + ", " +
                    show(loaded->findSrcFileAssociation("s.c", n, ""));
         }},
        {"saveSearchHistory(history, NAME)", true,
         [](auto n) {
             ObjectPtr<ISearchHistory> history = ISearchHistory::create();
             history->addBinFileAssociation("a", "/a");
             return show(saveSearchHistory(history, n));
         }},
        {"loadSearchHistory(history, NAME)", true,
         [](auto n) { return show(loadSearchHistory(ISearchHistory::create(), n)); }},
        {"cmdline::parseSearchDirs(NAME)", false,
         [](auto n) { return parsed(cmdline::parseSearchDirs, n); }},
        {"cmdline::parseSearchDirValue(NAME)", false,
         [](auto n) { return parsed(cmdline::parseSearchDirValue, n); }},
        {"cmdline::formatSearchDirValue(scAllFiles, NAME, true, true), parsed back", false,
         [](auto n) {
             const std::string value = cmdline::formatSearchDirValue(scAllFiles, n, true, true);
             return show(value) + " -> " + parsed(cmdline::parseSearchDirValue, value.c_str());
         }},
        {"IEditableSearchEnv: setCacheDir(NAME), setSearchDirs({all: NAME}), dump(env, "
         "scAllFiles); IEditableEnvironmentInfo::setKernelRelease(NAME)",
         false,
         [](auto n) {
             ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
             env->setCacheDir(n);
             env->setSearchDirs(dirsOf(n));
             ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
             info->setKernelRelease(n);
             return show(env->cacheDir()) + ", " + show(dump(env, scAllFiles)) + ", " +
                    show(info->kernelRelease());
         }},
        {"IResolutionContextMgr: createFileSystemContext(NAME, false), "
         "createResultDirectoryContext(NAME), createSearchEnv(that, \"c\", null)",
         false,
         [](auto n) {
             ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
             ObjectPtr<IResolutionContext> plain = mgr->createFileSystemContext(n, false);
             ObjectPtr<IResolutionContext> c = mgr->createResultDirectoryContext(n);
             return (plain ? show(plain->getUniqueID()) : "none") +
                    (c ? " " + show(*mgr->createSearchEnv(*c, "c", nullptr)) : "");
         }},
        {"IResolutionContextMgr: registerArchiveDir(context, NAME), registerCacheDir(context, "
         "NAME), createSearchEnv, archiveFile(context, \"image\"), archiveFile(context, NAME)",
         true,
         [](auto n) {
             ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
             ObjectPtr<IResolutionContext> c = freshContext();
             mgr->registerArchiveDir(*c, n);
             mgr->registerCacheDir(*c, n);
             const std::string env = show(*mgr->createSearchEnv(*c, "c", nullptr));
             const bool image = mgr->archiveFile(*c, "image", scAllFiles);
             return env + ", archived " + show(image) + " " +
                    show(mgr->archiveFile(*c, n, scAllFiles));
         }},
        {"IResolutionContextMgr, key and client id NAME: registerSearchDirs(context, {/before}, "
         "NAME), the 8 registrations by client id, captureSearchDirs, registerSearchDirs(context, "
         "{/after}, \"k\"), createSearchEnv; releaseSearchDirs, createSearchEnv; createFileSearch",
         false,
         [](auto n) {
             ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
             ObjectPtr<IResolutionContext> c = freshContext();
             ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
             const std::string calls = eachOf({
                 [&] { mgr->registerSearchDirs(*c, dirsOf("/before"), n); },
                 [&] { mgr->registerSearchStartedCallback(*c, n, nullptr); },
                 [&] { mgr->registerFilesFoundCallback(*c, n, nullptr); },
                 [&] { mgr->registerNoFilesFoundCallback(*c, n, nullptr); },
                 [&] { mgr->registerConfidenceLevelPolicyCallback(*c, n, nullptr); },
                 [&] { mgr->registerFileRetriever(*c, n, nullptr); },
                 [&] { mgr->registerSearchStepsConfigurator(*c, n, steps); },
                 [&] { mgr->registerMessenger(*c, n, nullptr); },
                 [&] { mgr->registerEnvironmentInfo(*c, n, IEditableEnvironmentInfo::create()); },
                 [&] { mgr->captureSearchDirs(*c, n); },
             });
             mgr->registerSearchDirs(*c, dirsOf("/after"), "k");
             ObjectPtr<ISearchEnv> env = mgr->createSearchEnv(*c, n, nullptr);
             const std::string captured = show(*env) +
                                          (env->searchStepsConfigurator() ? " steps" : "") +
                                          (env->environmentInfo() ? " info" : "");
             const std::string released = eachOf({[&] { mgr->releaseSearchDirs(*c, n); }});
             return calls + "; " + captured + "; " + released + " " +
                    show(*mgr->createSearchEnv(*c, n, nullptr)) + "; " +
                    show(bool(mgr->createFileSearch(*c, n, nullptr)));
         }},
        {"IFileSearch over <sandbox>: findBinFile(NAME, null, null, 0)", true,
         [](auto n) { return show(sandboxSearch()->findBinFile(n, nullptr, nullptr, 0)); }},
        {"IFileSearch over <sandbox>: findBinFile(\"image\", null, NAME, 0)", true,
         [](auto n) { return show(sandboxSearch()->findBinFile("image", nullptr, n, 0)); }},
        {"IFileSearch over <sandbox>: findSymFile(NAME, \"image\", null, null, null, null, null)",
         true,
         [](auto n) {
             return show(sandboxSearch()->findSymFile(n, "image", nullptr, nullptr, nullptr,
                                                      nullptr, nullptr));
         }},
        {"IFileSearch over <sandbox>: findSymFile(\"image\", NAME, NAME, null, NAME, null, NAME)",
         true,
         [](auto n) {
             return show(sandboxSearch()->findSymFile("image", n, n, nullptr, n, nullptr, n));
         }},
        {"IFileSearch over <sandbox>: findSrcFile(NAME, NAME, NAME, null, NAME)", true,
         [](auto n) { return show(sandboxSearch()->findSrcFile(n, n, n, nullptr, n)); }},
        {"ISearchManipulator: the 7 setters with client id NAME", false,
         [](auto n) {
             ObjectPtr<ISearchManipulator> m =
                 createSearchManipulatorByContext(freshContext(), nullptr, nullptr);
             bool dirs = false;
             const std::string calls = eachOf({
                 [&] { m->setSearchStartedBehavior(n, ssbSuggestRememberedAndSearch); },
                 [&] { m->setOwnSearchStartedCallback(n, nullptr); },
                 [&] { m->setFilesFoundBehavior(n, ffbRememberChoice); },
                 [&] { m->setOwnFilesFoundCallback(n, nullptr); },
                 [&] { m->setNoFilesFoundBehavior(n, nfbRememberResultOrFailure); },
                 [&] { m->setOwnNoFilesFoundCallback(n, nullptr); },
                 [&] { dirs = m->setSearchDirsBehavior(n, sdbCaptureNow); },
             });
             return calls + ", setSearchDirsBehavior " + show(dirs);
         }},
        {"ISearchManipulator remembering for \"c\", search over <sandbox>: findBinFile(NAME) "
         "twice, then the history's association of NAME",
         true,
         [](auto n) {
             ObjectPtr<IResolutionContext> c = freshContext();
             ObjectPtr<ISearchManipulator> m =
                 createSearchManipulatorByContext(c, nullptr, nullptr);
             m->setSearchStartedBehavior("c", ssbSuggestRememberedAndSearch);
             m->setFilesFoundBehavior("c", ffbRememberChoice);
             m->setNoFilesFoundBehavior("c", nfbRememberResultOrFailure);
             ObjectPtr<IFileSearch> search = sandboxSearch(c);
             const std::string first = show(search->findBinFile(n, nullptr, nullptr, 0));
             const std::string again = show(search->findBinFile(n, nullptr, nullptr, 0));
             return first + ", " + again + ", " + show(m->getHistory()->findBinFileAssociation(n));
         }},
        {"utils::archiveFile(NAME, \"arch\", \"sub\")", true,
         [](auto n) { return archived(n, "arch", "sub"); }},
        {"utils::archiveFile(\"image\", NAME, null)", true,
         [](auto n) { return archived("image", n, nullptr); }},
        {"utils::archiveFile(\"image\", \"arch\", NAME)", true,
         [](auto n) { return archived("image", "arch", n); }},
        {"user data directory NAME: utils::createUniqueTempDir", true,
         [](auto n) -> std::string {
             // Null restores the default directory (under $HOME), and on a name near
             // PATH_MAX create_directories builds a tree 500 levels deep that no cleanup
             // removes by name: those are not called.
             if (!n || std::strlen(n) >= 4000) return "not called";
             tarnbase2::IProductLocations::setUserDataDir(n);
             std::string dir;
             const unsigned int code = utils::createUniqueTempDir(dir);
             tarnbase2::IProductLocations::setUserDataDir(nullptr);
             if (code != utils::kArchiveDone) return std::to_string(code);
             // The last element is random: "ff-" and four groups of hex digits.
             return "0 " + show(dir.substr(0, dir.size() - 22) + "ff-RANDOM") +
                    (utils::isDirectory(dir.c_str()) ? " made" : " NOT MADE");
         }},
    };
}

// What one call did: its answer, "logic_error", or (a failure) any other exception.
std::string outcomeOf(const EntryPoint& entry, const BadInput& input, Sandbox& sandbox) {
    if (entry.touchesFiles) sandbox.reset();
    const std::string placed = entry.touchesFiles ? sandbox.place(input.text) : input.text;
    try {
        return sandbox.hide(entry.outcome(input.isNull ? nullptr : placed.c_str()));
    } catch (const std::logic_error&) {
        return "logic_error";
    } catch (const std::exception& e) {
        ADD_FAILURE() << entry.call << " with " << input.label << " threw " << typeid(e).name()
                      << ": " << e.what();
        return std::string("unexpected exception ") + typeid(e).name();
    }
}

}  // namespace

TEST(BadInput, EveryEntryPointAnswersAsTheGoldenFileSays) {
    std::ostringstream table;
    table << "# Outcomes of bad input at the public entry points: tests/unit/bad_input_test.cpp.\n"
          << "# Rewrite with FF_UPDATE_GOLDEN=1 after an intended change, and review the diff.\n";
    Sandbox sandbox;
    const std::vector<BadInput> inputs = badInputs();
    for (const EntryPoint& entry : entryPoints()) {
        table << "\n== " << entry.call << "\n";
        for (const BadInput& input : inputs)
            table << input.label << std::string(20 - input.label.size(), ' ') << ": "
                  << outcomeOf(entry, input, sandbox) << "\n";
    }

    const char* update = std::getenv("FF_UPDATE_GOLDEN");
    if (update && std::string(update) == "1") {
        std::ofstream out(kGoldenFile, std::ios::binary | std::ios::trunc);
        ASSERT_TRUE(out << table.str() << std::flush) << "cannot write " << kGoldenFile;
        GTEST_SKIP() << "rewrote " << kGoldenFile;
    }

    std::ifstream in(kGoldenFile, std::ios::binary);
    const std::string golden{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    ASSERT_FALSE(golden.empty()) << "no golden file at " << kGoldenFile;
    EXPECT_EQ(golden, table.str());  // gtest shows the lines that differ
}

// A tail of a name that keeps PATH_MAX bytes or more after normalising names nothing the
// system can open, so it is not offered: a 64 KiB name costs a search the tails that fit,
// not seconds of building and normalising every tail. ".." elements that cancel the long
// part leave every tail short enough, and all are offered.
TEST(BadInput, TheFinderOffersOnlyTailsShortEnoughToOpen) {
    auto offers = [](const std::string& name) {
        fftest::RecordingResults results;
        FilesFinder finder(ssHighPrioritySearchDirs);
        finder.addSearchDirectory("/d", false);
        finder.find(name.c_str(), results);
        return results.paths();
    };
    const std::vector<std::string> tails = offers(longName(65536));  // longest first
    ASSERT_FALSE(tails.empty());
    EXPECT_LT(tails.front().size() - 3, 4096u);  // "/d/" and a tail
    EXPECT_GE(tails.front().size() - 3, 4096u - 8);
    EXPECT_EQ("/d/long-nmx", tails.back());

    std::string climbing = longName(8000);  // 1000 elements
    for (int i = 0; i < 600; ++i) climbing += "/..";
    EXPECT_EQ(1000u + 600u + 1u, offers(climbing + "/y").size());
}
