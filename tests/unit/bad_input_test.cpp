// Bad input at every public entry point that takes a name: null, empty, dot names, ".."
// climbs, names around and far beyond PATH_MAX, a component over NAME_MAX, high bytes,
// newlines, names of another system. Nothing may crash and no exception but the documented
// std::logic_error may leave. The answers are kept in tests/data/bad_input.golden, the inputs
// that got one answer on one line, "NAME" standing for the input where it appears in an answer;
// FF_UPDATE_GOLDEN=1 rewrites it after an intended change: review its diff. Calls that touch
// files run in a fresh tree <tmp>/d1/d2/d3 (shown as <sandbox>) with the working directory at
// d3: "../.." stays inside <tmp>, and "/x" is taken as d3/x.
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "file_finder.h"
#include "gzip.h"
#include "search/files_finder.h"
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

// A string as the golden file shows it: quoted and escaped, or its length when long.
std::string show(const std::string& text) {
    if (text.size() > 128) return "<" + std::to_string(text.size()) + " bytes>";
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
std::string show(bool answer) {
    return answer ? "true" : "false";
}

// `value` in terms of the input `name`: NAME where the input stands in it ("arch/"NAME), or
// the value itself.
std::string named(const std::string& value, const char* name) {
    // A one-byte input ("/", ".") would be found in nearly any answer.
    const size_t at = name && std::strlen(name) > 1 ? value.find(name) : std::string::npos;
    if (at == std::string::npos) return show(value);
    const std::string head = value.substr(0, at), tail = value.substr(at + std::strlen(name));
    return (head.empty() ? "" : show(head)) + "NAME" + (tail.empty() ? "" : show(tail));
}
std::string named(const ObjectPtr<IValidFile>& file, const char* name) {
    return file ? named(file->name(), name) + " step " + std::to_string(file->searchStep())
                : "none";
}
std::string named(const ObjectPtr<IFileAssociation>& association, const char* name) {
    return association ? named(association->resolvedName(), name) : "none";
}

// The answer of `call`, or "logic_error"; any other exception leaves.
template <class Call>
std::string attempt(Call call) {
    try {
        return call();
    } catch (const std::logic_error&) {
        return "logic_error";
    }
}
// "ok" or "logic_error" for each call in turn.
std::string eachOf(std::initializer_list<std::function<void()>> calls) {
    std::string out;
    for (const std::function<void()>& call : calls)
        out += (out.empty() ? "" : " ") + attempt([&] { return call(), std::string("ok"); });
    return out;
}

// A category's directories as "category:name R H" (recursive, high priority), in order.
std::string dirsOf(ObjectPtr<ISearchDirIterator> it, search_category_t category, const char* n) {
    std::string out;
    const char* name;
    bool recursive, high;
    if (it)
        for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next())
            out += (out.empty() ? "" : ", ") + std::to_string(category) + ":" + named(name, n) +
                   (recursive ? " R" : "") + (high ? " H" : "");
    return "[" + out + "]";
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

// Which kind of answer a parser gave: its records, or the start of its error message.
std::string parsed(bool (*parse)(const char*, IEditableSearchDirContainer&, std::string&),
                   const char* text, const char* n) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    std::string error;
    if (parse(text, *dirs, error))
        return "true " + dirsOf(dirs->enumerate(scAllFiles), scAllFiles, n);
    return "false: " + error.substr(0, error.find_first_of("\"(")) + "...";
}

// The tree the calls that touch files run in; see the top of the file.
struct Sandbox {
    fftest::TempDir tmp;
    const std::string base = tmp / "d1/d2/d3";
    const fs::path previous = fs::current_path();
    ~Sandbox() { fs::current_path(previous); }
};
Sandbox* g_sandbox = nullptr;

void fresh() {
    fs::current_path(g_sandbox->tmp.path());
    fs::remove_all(g_sandbox->tmp / "d1");
    g_sandbox->tmp.makeFile("d1/d2/d3/image", "boot code " + fftest::gzip("the kernel proper"));
    fs::current_path(g_sandbox->base);
}
// No input climbs more than two levels, so every name stays inside <tmp>. A share name is
// absolute once canonical ("//srv/share/x"), so it is kept below d3 too.
std::string place(const std::string& name) {
    if (!name.empty() && name[0] == '/') return g_sandbox->base + name;
    return name.rfind("\\\\", 0) == 0 ? g_sandbox->base + "/" + name : name;
}
std::string hide(std::string text) {
    for (size_t at; (at = text.find(g_sandbox->base)) != std::string::npos;)
        text.replace(at, g_sandbox->base.size(), "<sandbox>");
    return text;
}

// archiveFile's code, and on 0 or 6 where the copy stands and whether it is whole: a
// regular file (not a link) whose MD5 names its directory.
std::string archived(const char* file, const char* dir, const char* sub, const char* n) {
    fresh();
    std::string path;
    const unsigned int code = utils::archiveFile(file, dir, sub, path, false);
    if (code != utils::kArchiveDone && code != utils::kArchiveAlreadyThere)
        return std::to_string(code);
    ObjectPtr<IChecksum> md5 =
        IChecksumCalculator::create()->calculateChecksum(path.c_str(), ctMD5);
    const bool whole =
        !fs::is_symlink(path) && md5 && fs::path(path).parent_path().filename() == md5->value();
    if (md5) path.replace(path.find(md5->value()), std::strlen(md5->value()), "MD5");
    return std::to_string(code) + " " + named(path, n) + (whole ? "" : " NOT WHOLE");
}

struct EntryPoint {
    const char* call;  // NAME stands for the input
    bool touchesFiles;
    std::function<std::string(const char* name)> outcome;
};

// The parts of an answer joined by `separator`, evaluated in order (a braced list is).
std::string join(const char* separator, std::initializer_list<std::string> parts) {
    std::string out;
    for (const std::string& part : parts) out += (out.empty() ? "" : separator) + part;
    return out;
}

std::vector<EntryPoint> entryPoints() {
    using namespace utils;
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    return {
        {"addSubPart(NAME, \"sub\"); addSubPart(\"/base\", NAME)", false,
         [](auto n) {
             return join("; ", {attempt([&] { return named(addSubPart(n, "sub"), n); }),
                                attempt([&] { return named(addSubPart("/base", n), n); })});
         }},
        {"getCanonicalName(NAME, false), the same with true", false,
         [](auto n) {
             const std::string plain = getCanonicalName(n, false);
             return named(plain, n) + (plain == getCanonicalName(n, true) ? "" : ", not with true");
         }},
        {"compareCanonicalFileNames(NAME, \"m\"), (\"m\", NAME)", false,
         [](auto n) {
             return join(
                 " ", {attempt([&] { return std::to_string(compareCanonicalFileNames(n, "m")); }),
                       attempt([&] { return std::to_string(compareCanonicalFileNames("m", n)); })});
         }},
        {"getFileNameOnly, -Path, -Base, -Extension; changeFileNameExtension(NAME, \".debug\"), "
         "(\"/a/b.so\", NAME); toUpper",
         false,
         [](auto n) {
             return eachOf({[&] { getFileNameOnly(n); }, [&] { getFileNamePath(n); },
                            [&] { getFileNameBase(n); }, [&] { getFileNameExtension(n); },
                            [&] { changeFileNameExtension(n, ".debug"); },
                            [&] { changeFileNameExtension("/a/b.so", n); }, [&] { toUpper(n); }});
         }},
        {"isAbsolutePath, isStringEmpty", false,
         [](auto n) {
             return join(
                 " ", {attempt([&] { return show(isAbsolutePath(n)); }), show(isStringEmpty(n))});
         }},
        {"isDirectory, fileExists, removeFile, createDir", true,
         [](auto n) {
             return join(" ", {attempt([&] { return show(isDirectory(n)); }), show(fileExists(n)),
                               show(removeFile(n)), show(createDir(n))});
         }},
        {"extractVmlinux(NAME, \"vmlinux\"); extractVmlinux(\"image\", NAME), fileExists(NAME)",
         true,
         [](auto n) {
             return join(" ", {show(extractVmlinux(n, "vmlinux")) + ";",
                               show(extractVmlinux("image", n)), show(n && fileExists(n))});
         }},
        {"calculateChecksum(NAME, ctMD5), fromString(ctSHA1, NAME)", true,
         [](auto n) {
             ObjectPtr<IChecksumCalculator> calc = IChecksumCalculator::create();
             ObjectPtr<IChecksum> parsed = calc->fromString(ctSHA1, n);
             return join(" ", {calc->calculateChecksum(n, ctMD5) ? "a sum" : "none",
                               parsed ? named(parsed->value(), n) : "none"});
         }},
        {"IPersistentSearchDirContainer::create(NAME), addDirectory, isSaved", true,
         [](auto n) -> std::string {
             ObjectPtr<IPersistentSearchDirContainer> dirs =
                 IPersistentSearchDirContainer::create(n);
             if (!dirs) return "none";
             dirs->addDirectory(scAllFiles, "/d", false, false);
             return "saved " + show(dirs->isSaved());
         }},
        {"IPersistentSearchDirContainer \"dirs.json\": addDirectory(scAllFiles, NAME), reloaded",
         true,
         [](auto n) {
             return join(
                 " ",
                 {show(IPersistentSearchDirContainer::create("dirs.json")
                           ->addDirectory(scAllFiles, n, false, true)),
                  dirsOf(IPersistentSearchDirContainer::create("dirs.json")->enumerate(scAllFiles),
                         scAllFiles, n)});
         }},
        {"ISearchHistory, NAME in every field: bin add, find; sym add, find; src saved to "
         "\"h.json\", loaded, found",
         true,
         [](auto n) {
             ObjectPtr<ISearchHistory> history = ISearchHistory::create(),
                                       loaded = ISearchHistory::create();
             return join(" ", {named(history->addBinFileAssociation(n, n), n),
                               named(history->findBinFileAssociation(n), n) + ";",
                               named(history->addSymFileAssociation(n, n, n, "/r"), n),
                               named(history->findSymFileAssociation(n, n, n), n) + ";",
                               named(history->addSrcFileAssociation("s.c", n, "", n), n),
                               show(saveSearchHistory(history, "h.json")),
                               show(loadSearchHistory(loaded, "h.json")),
                               named(loaded->findSrcFileAssociation("s.c", n, ""), n)});
         }},
        {"loadSearchHistory(history, NAME), saveSearchHistory(history, NAME)", true,
         [](auto n) {
             ObjectPtr<ISearchHistory> history = ISearchHistory::create();
             return join(" ", {show(loadSearchHistory(history, n)),
                               (history->addBinFileAssociation("a", "/a"),
                                show(saveSearchHistory(history, n)))});
         }},
        {"cmdline: parseSearchDirs(NAME); parseSearchDirValue(NAME); the formatSearchDirValue of "
         "NAME parsed back",
         false,
         [](auto n) {
             const std::string value = cmdline::formatSearchDirValue(scAllFiles, n, true, true);
             return join("; ", {parsed(cmdline::parseSearchDirs, n, n),
                                parsed(cmdline::parseSearchDirValue, n, n),
                                parsed(cmdline::parseSearchDirValue, value.c_str(), n)});
         }},
        {"createFileSystemContext(NAME, false); createResultDirectoryContext(NAME), its "
         "directories",
         false,
         [mgr](auto n) {
             ObjectPtr<IResolutionContext> plain = mgr->createFileSystemContext(n, false);
             ObjectPtr<IResolutionContext> c = mgr->createResultDirectoryContext(n);
             std::string out = (plain ? named(plain->getUniqueID(), n) : "none") + "; ";
             if (!c) return out + "none";
             ObjectPtr<ISearchEnv> env = mgr->createSearchEnv(*c, "c", nullptr);
             for (search_category_t category : {scBinaryFiles, scSymbolFiles, scSourceFiles})
                 out += dirsOf(env->searchDirs(category), category, n);
             return out + " archive " + dirsOf(env->archiveDirs(scAllFiles), scAllFiles, n);
         }},
        {"registerArchiveDir(NAME), registerCacheDir(NAME) over \"kept\", createSearchEnv; "
         "archiveFile(\"image\"); archiveFile(NAME)",
         true,
         [mgr](auto n) {
             ObjectPtr<IResolutionContext> c = freshContext();
             mgr->registerArchiveDir(*c, "kept");
             mgr->registerCacheDir(*c, "kept");
             const std::string calls = eachOf(
                 {[&] { mgr->registerArchiveDir(*c, n); }, [&] { mgr->registerCacheDir(*c, n); }});
             ObjectPtr<ISearchEnv> env = mgr->createSearchEnv(*c, "c", nullptr);
             return join("; ", {calls,
                                dirsOf(env->archiveDirs(scAllFiles), scAllFiles, n) + " cache " +
                                    named(env->cacheDir(), n),
                                show(mgr->archiveFile(*c, "image", scAllFiles)),
                                show(mgr->archiveFile(*c, n, scAllFiles))});
         }},
        {"key and client id NAME: registerSearchDirs({/before}), registerSearchStartedCallback, "
         "registerSearchStepsConfigurator, captureSearchDirs, registerSearchDirs({/after}, \"k\"), "
         "createSearchEnv; releaseSearchDirs; createSearchEnv",
         false,
         [mgr](auto n) {
             ObjectPtr<IResolutionContext> c = freshContext();
             const std::string calls = eachOf({
                 [&] { mgr->registerSearchDirs(*c, dirsOf("/before"), n); },
                 [&] { mgr->registerSearchStartedCallback(*c, n, nullptr); },
                 [&] {
                     mgr->registerSearchStepsConfigurator(*c, n,
                                                          ISearchStepsConfigurator::create());
                 },
                 [&] { mgr->captureSearchDirs(*c, n); },
             });
             mgr->registerSearchDirs(*c, dirsOf("/after"), "k");
             auto dirs = [&] {
                 return dirsOf(mgr->createSearchEnv(*c, n, nullptr)->searchDirs(scAllFiles),
                               scAllFiles, n);
             };
             return join("; ",
                         {calls, dirs(), eachOf({[&] { mgr->releaseSearchDirs(*c, n); }}), dirs()});
         }},
        {"IFileSearch over <sandbox>: findBinFile(NAME); findBinFile(\"image\", suggested NAME); "
         "findSymFile(NAME, binary \"image\"); findSymFile(\"image\", NAME in every other name); "
         "findSrcFile(NAME in every name)",
         true,
         [](auto n) {
             return join(
                 "; ",
                 {named(sandboxSearch()->findBinFile(n, nullptr, nullptr, 0), n),
                  named(sandboxSearch()->findBinFile("image", nullptr, n, 0), n),
                  named(sandboxSearch()->findSymFile(n, "image", nullptr, nullptr, nullptr, nullptr,
                                                     nullptr),
                        n),
                  named(sandboxSearch()->findSymFile("image", n, n, nullptr, n, nullptr, n), n),
                  named(sandboxSearch()->findSrcFile(n, n, n, nullptr, n), n)});
         }},
        {"ISearchManipulator with client id NAME: setSearchStartedBehavior, "
         "setOwnFilesFoundCallback, "
         "setSearchDirsBehavior",
         false,
         [](auto n) {
             ObjectPtr<ISearchManipulator> m =
                 createSearchManipulatorByContext(freshContext(), nullptr, nullptr);
             return join(
                 " ",
                 {eachOf({[&] { m->setSearchStartedBehavior(n, ssbSuggestRememberedAndSearch); },
                          [&] { m->setOwnFilesFoundCallback(n, nullptr); }}),
                  show(m->setSearchDirsBehavior(n, sdbCaptureNow))});
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
             return join(", ", {named(search->findBinFile(n, nullptr, nullptr, 0), n),
                                named(search->findBinFile(n, nullptr, nullptr, 0), n),
                                named(m->getHistory()->findBinFileAssociation(n), n)});
         }},
        {"utils::archiveFile(NAME, \"arch\", \"sub\"); (\"image\", NAME, null); (\"image\", "
         "\"arch\", NAME)",
         true,
         [](auto n) {
             return join("; ", {archived(n, "arch", "sub", n), archived("image", n, nullptr, n),
                                archived("image", "arch", n, n)});
         }},
        {"user data directory NAME: utils::createUniqueTempDir", true,
         [](auto n) -> std::string {
             // Not for null, which restores the default (under $HOME), nor near PATH_MAX, where
             // a tree 500 levels deep would be made that no cleanup removes by name.
             if (!n || std::strlen(n) >= 4000) return "not called";
             tarnbase2::IProductLocations::setUserDataDir(n);
             std::string dir;
             const unsigned int code = utils::createUniqueTempDir(dir);
             tarnbase2::IProductLocations::setUserDataDir(nullptr);
             // The last element is "ff-" and four random groups of hex digits.
             return code ? std::to_string(code)
                         : "0 " + named(dir.substr(0, dir.size() - 22) + "ff-RANDOM", n) +
                               (utils::isDirectory(dir.c_str()) ? " made" : " NOT MADE");
         }},
    };
}

// What one call did: its answer, "logic_error", or (a failure) any other exception.
std::string outcomeOf(const EntryPoint& entry, const BadInput& input) {
    if (entry.touchesFiles) fresh();
    const std::string placed = entry.touchesFiles ? place(input.text) : input.text;
    try {
        return hide(entry.outcome(input.isNull ? nullptr : placed.c_str()));
    } catch (const std::logic_error&) {
        return "logic_error";
    } catch (const std::exception& e) {
        ADD_FAILURE() << entry.call << " with " << input.label << " threw " << typeid(e).name()
                      << ": " << e.what();
        return std::string("unexpected exception ") + typeid(e).name();
    }
}

// One line per answer, in the order of the inputs that first gave it; the answer most
// inputs gave comes last, as "the rest".
std::string section(const EntryPoint& entry, const std::vector<BadInput>& inputs) {
    std::vector<std::pair<std::string, std::string>> lines;  // answer, inputs
    for (const BadInput& input : inputs) {
        const std::string answer = outcomeOf(entry, input);
        auto line = std::find_if(lines.begin(), lines.end(),
                                 [&](const auto& l) { return l.first == answer; });
        if (line == lines.end()) line = lines.insert(lines.end(), {answer, ""});
        line->second += (line->second.empty() ? "" : ", ") + input.label;
    }
    auto most = std::max_element(lines.begin(), lines.end(), [](const auto& a, const auto& b) {
        return std::count(a.second.begin(), a.second.end(), ',') <
               std::count(b.second.begin(), b.second.end(), ',');
    });
    if (lines.size() > 1 && most->second.find(',') != std::string::npos) {
        std::rotate(most, most + 1, lines.end());
        lines.back().second = "the rest";
    }
    std::string out = "\n== " + std::string(entry.call) + "\n";
    for (const auto& [answer, labels] : lines) out += labels + ": " + answer + "\n";
    return out;
}

}  // namespace

TEST(BadInput, EveryEntryPointAnswersAsTheGoldenFileSays) {
    Sandbox sandbox;
    g_sandbox = &sandbox;
    std::string table =
        "# Answers to bad input at the public entry points: tests/unit/bad_input_test.cpp.\n"
        "# Rewrite with FF_UPDATE_GOLDEN=1 after an intended change, and review the diff.\n";
    const std::vector<BadInput> inputs = badInputs();
    for (const EntryPoint& entry : entryPoints()) table += section(entry, inputs);
    g_sandbox = nullptr;

    const char* update = std::getenv("FF_UPDATE_GOLDEN");
    if (update && std::string(update) == "1") {
        std::ofstream out(kGoldenFile, std::ios::binary | std::ios::trunc);
        ASSERT_TRUE(out << table << std::flush) << "cannot write " << kGoldenFile;
        GTEST_SKIP() << "rewrote " << kGoldenFile;
    }
    std::ifstream in(kGoldenFile, std::ios::binary);
    const std::string golden{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    ASSERT_FALSE(golden.empty()) << "no golden file at " << kGoldenFile;
    EXPECT_EQ(golden, table);  // gtest shows the lines that differ
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
