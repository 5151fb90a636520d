// Eight threads search through one context manager, one shared IFileSearch and one shared
// history while other threads register and replace search directories, replace and destroy
// files-found callbacks, capture and release the client's directories, and add and clear
// history entries. Every fourth searcher makes its own searches that skip a directory they
// cannot list (a link that loops on itself) and report to one shared observer. Some searches
// ask for files by build-id, which only a remote source shared by their searches has (every
// other build-id is a miss). A wrong file is never acceptable; a watchdog reports each thread's
// last position when no thread makes progress for a long while. Built with ThreadSanitizer by
// ./test.sh, where any race report fails the run.
//   search_stress [SECONDS] [SEARCHES_PER_THREAD]     (defaults: 20 s, 400)
#include <file_finder.h>

#include <atomic>
#include <boost/filesystem.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace FF_2_13;
namespace fs = boost::filesystem;

namespace {

constexpr int kSearchers = 8;
constexpr int kFiles = 24;
constexpr char kClient[] = "stress";

std::atomic<long> g_searches{0}, g_wrong{0}, g_destroyedMidSearch{0}, g_progress{0}, g_skipped{0};

// What each thread did last, for the watchdog's report.
struct Position {
    std::atomic<const char*> what{"starting"};
};
std::vector<Position> g_positions(kSearchers + 4);

// Chooses the first valid file; counts calls in progress so that a destruction during
// one can be counted.
class FirstValid : public IFilesFoundCallback {
public:
    ~FirstValid() override {
        if (m_inCall.load() > 0) ++g_destroyedMidSearch;
        disconnectHolders();  // waits for the calls in progress
    }
    ObjectPtr<IValidFile> binFilesFound(const char*, IValidFileIterator& valid) override {
        ++m_inCall;
        ObjectPtr<IValidFile> first = valid.next();
        std::this_thread::yield();  // widen the window in which the callback is in use
        --m_inCall;
        return first;
    }
    ObjectPtr<IValidFile> symFilesFound(const char*, const char*, const char*,
                                        IValidFileIterator& valid) override {
        return valid.next();
    }
    ObjectPtr<IValidFile> srcFilesFound(const char*, const char*, const char*,
                                        IValidFileIterator& valid) override {
        return valid.next();
    }

private:
    std::atomic<int> m_inCall{0};
};

// Has the files of the even build-ids ("be00", "be02", ...), in its own directory.
class StubRemote : public RefCountImpl<IRemoteSource> {
public:
    explicit StubRemote(const fs::path& dir) : m_dir(dir) {}
    ObjectPtr<IRemoteFile> fetch(remote_file_kind_t kind, const char* buildId,
                                 const char*) override {
        const fs::path file = m_dir / buildId;
        if (kind != rfExecutable || !fs::exists(file)) return IRemoteFile::missed("not here");
        return IRemoteFile::found(file.c_str(), "stub");
    }

private:
    const fs::path m_dir;
};

std::string stubBuildId(int i) {
    char id[5];
    std::snprintf(id, sizeof id, "be%02x", i);
    return id;
}

// Told by the searches of many threads at once.
class CountingObserver : public ISearchObserver {
public:
    void candidateSeen(const char*, search_step_t, candidate_outcome_t, const char*) override {
        ++m_candidates;
    }
    void directorySkipped(const char*, const char*) override { ++g_skipped; }

private:
    std::atomic<long> m_candidates{0};
};

}  // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 20;
    const int perThread = argc > 2 ? std::atoi(argv[2]) : 400;
    const fs::path work = fs::temp_directory_path() / fs::unique_path("ff-stress-%%%%-%%%%");
    std::vector<std::string> names, paths;
    for (int i = 0; i < kFiles; ++i) {
        const fs::path dir = work / ("tree/d" + std::to_string(i % 6)) / ("s" + std::to_string(i));
        fs::create_directories(dir);
        names.push_back("libstress" + std::to_string(i) + ".so");
        paths.push_back((dir / names.back()).string());
        std::ofstream(paths.back()) << "file " << i;
    }
    fs::create_directories(work / "remote");
    for (int i = 0; i < kFiles; i += 2) std::ofstream((work / "remote" / stubBuildId(i)).string());
    fs::create_directories(work / "tree/d0/loop");
    fs::create_symlink(work / "tree", work / "tree/d0/loop/back");  // a loop to an ancestor

    ObjectPtr<IResolutionContextMgr> manager = IResolutionContextMgr::create();
    ObjectPtr<IResolutionContext> project =
        manager->createFileSystemContext((work / "project").c_str(), false);
    ObjectPtr<IResolutionContext> user =
        manager->createFileSystemContext((work / "user").c_str(), false);
    manager->addInheritance(*project, *user);
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scBinaryFiles, (work / "tree").c_str(), true, false);
    manager->registerSearchDirs(*user, dirs, "tree");
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    ObjectPtr<ISearchManipulator> manipulator = createSearchManipulatorByContext(
        project, ObjectPtr<IEditableSearchDirContainer>(), history);
    manipulator->setSearchStartedBehavior(kClient, ssbSuggestRememberedAndSearch);
    ObjectPtr<IFileSearch> shared = manager->createFileSearch(*project, kClient, nullptr);
    ObjectPtr<ISearchOptions> remoteOptions = ISearchOptions::create();
    remoteOptions->setRemoteSource(ObjectPtr<IRemoteSource>(new StubRemote(work / "remote")));
    ObjectPtr<IFileSearch> remote = IFileSearch::create(
        manager->createSearchEnv(*project, kClient, ObjectPtr<IEnvironmentInfo>()), remoteOptions);

    // The searches that skip: a tree they cannot list all of comes first.
    fs::create_directories(work / "looped");
    fs::create_symlink("self", work / "looped/self");
    CountingObserver observer;
    ObjectPtr<ISearchOptions> skipping = ISearchOptions::create();
    skipping->setSkipUnlistableDirectories(true);
    skipping->setObserver(&observer);
    ObjectPtr<IEditableSearchEnv> skippingEnv = IEditableSearchEnv::create();
    ObjectPtr<IEditableSearchDirContainer> skippingDirs = IEditableSearchDirContainer::create();
    skippingDirs->addDirectory(scBinaryFiles, (work / "looped").c_str(), true, true);
    skippingDirs->addDirectory(scBinaryFiles, (work / "tree").c_str(), true, false);
    skippingEnv->setSearchDirs(skippingDirs);

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    std::vector<std::thread> threads;
    for (int t = 0; t < kSearchers; ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 random(t);
            Position& at = g_positions[t];
            for (int n = 0; n < perThread; ++n) {
                const int i = static_cast<int>(random() % kFiles);
                try {
                    if (t % 4 == 3 && n % 2) {
                        at.what = "searching by build-id through the remote source";
                        const std::string id = stubBuildId(i);
                        const std::string name = ".build-id/be/" + id.substr(2);
                        ObjectPtr<IValidFile> found =
                            remote->findBinFile(name.c_str(), nullptr, nullptr, 0);
                        ++g_searches;
                        ++g_progress;
                        const std::string expected = i % 2 ? "" : (work / "remote" / id).string();
                        if (expected != (found ? found->name() : "")) {
                            ++g_wrong;
                            std::fprintf(stderr, "wrong result for %s: %s\n", name.c_str(),
                                         found ? found->name() : "nothing");
                        }
                        continue;
                    }
                    ObjectPtr<IFileSearch> search = shared;
                    if (t % 4 == 3) {
                        at.what = "searching with a search that skips what it cannot list";
                        search = IFileSearch::create(skippingEnv, skipping);
                    } else if (t % 2) {
                        at.what = "creating a FileSearch through the manager";
                        search = manager->createFileSearch(*project, kClient, nullptr);
                    }
                    at.what = t % 2 ? "searching through its own FileSearch"
                                    : "searching through the shared FileSearch";
                    ObjectPtr<IValidFile> found =
                        search->findBinFile(names[i].c_str(), nullptr, nullptr, 0);
                    ++g_searches;
                    ++g_progress;
                    if (!found || paths[i] != found->name()) {
                        ++g_wrong;
                        std::fprintf(stderr, "wrong result for %s: %s\n", names[i].c_str(),
                                     found ? found->name() : "nothing");
                    }
                } catch (const std::exception& e) {
                    ++g_wrong;
                    std::fprintf(stderr, "search threw: %s\n", e.what());
                }
                if (std::chrono::steady_clock::now() > deadline) break;
            }
            at.what = "done";
        });
    }

    std::atomic<int> searchersDone{0};
    std::vector<std::thread> mutators;
    auto mutator = [&](int slot, auto step) {
        mutators.emplace_back([&, slot, step] {
            std::mt19937 random(100 + slot);
            while (searchersDone.load() < kSearchers) {
                step(random, g_positions[kSearchers + slot]);
                ++g_progress;
            }
            g_positions[kSearchers + slot].what = "done";
        });
    };
    mutator(0, [&](std::mt19937& random, Position& at) {
        // Directories that hold nothing of the tree: they change what is walked, never the answer.
        at.what = "registering search directories";
        ObjectPtr<IEditableSearchDirContainer> more = IEditableSearchDirContainer::create();
        more->addDirectory(scBinaryFiles, (work / ("empty" + std::to_string(random() % 4))).c_str(),
                           random() % 2 == 0, random() % 2 == 0);
        manager->registerSearchDirs(random() % 2 ? *project : *user, more,
                                    ("extra" + std::to_string(random() % 3)).c_str());
    });
    std::unique_ptr<FirstValid> filesFound;  // only the replacing thread touches it
    mutator(1, [&](std::mt19937&, Position& at) {
        at.what = "replacing the files-found callback";
        auto next = std::make_unique<FirstValid>();
        manager->registerFilesFoundCallback(*project, kClient, next.get());
        at.what = "destroying the replaced files-found callback";
        filesFound = std::move(next);
    });
    mutator(2, [&](std::mt19937& random, Position& at) {
        const bool capture = random() % 2;
        at.what = capture ? "capturing search directories" : "releasing search directories";
        capture ? manager->captureSearchDirs(*project, kClient)
                : manager->releaseSearchDirs(*project, kClient);
    });
    mutator(3, [&](std::mt19937& random, Position& at) {
        const int i = static_cast<int>(random() % kFiles);
        const bool clear = random() % 4 == 0;
        at.what = clear ? "clearing the history" : "adding to the history";
        clear ? history->clear(scBinaryFiles)
              : void(history->addBinFileAssociation(names[i].c_str(), paths[i].c_str()));
    });

    // The watchdog: progress must show within two minutes, however loaded the machine.
    std::thread watchdog([&] {
        long seen = -1;
        auto lastChange = std::chrono::steady_clock::now();
        while (searchersDone.load() < kSearchers) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            if (g_progress.load() != seen) {
                seen = g_progress.load();
                lastChange = std::chrono::steady_clock::now();
            } else if (std::chrono::steady_clock::now() - lastChange > std::chrono::seconds(120)) {
                std::fprintf(stderr, "deadlock: no progress for 120 s; last positions:\n");
                for (size_t p = 0; p < g_positions.size(); ++p)
                    std::fprintf(stderr, "  thread %zu: %s\n", p, g_positions[p].what.load());
                std::_Exit(3);
            }
        }
    });

    for (std::thread& t : threads) {
        t.join();
        ++searchersDone;
    }
    for (std::thread& t : mutators) t.join();
    watchdog.join();

    std::printf(
        "searches: %ld, callbacks destroyed mid-search: %ld, directories skipped: %ld, wrong "
        "results: %ld\n",
        g_searches.load(), g_destroyedMidSearch.load(), g_skipped.load(), g_wrong.load());
    shared = ObjectPtr<IFileSearch>();
    remote = ObjectPtr<IFileSearch>();
    manipulator = ObjectPtr<ISearchManipulator>();
    boost::system::error_code ignored;  // the temporary tree goes, whatever is left in it
    fs::remove_all(work, ignored);
    return g_wrong.load() == 0 && g_searches.load() > 0 && g_skipped.load() > 0 ? 0 : 1;
}
