// The typical request of a profiler, through the public header alone: contexts for the
// user and for one collected result, chained; directories and a policy registered; one
// binary, its symbol file and a source file looked up.
//
//   typical_request RESULT_DIR BINARY [SYMBOL_FILE [SOURCE_FILE]]
#include <file_finder.h>

#include <cstdio>

using namespace FF_2_13;

namespace {

const char* kClient = "example-profiler";

// Accept files the validators could not decide on, with the higher of the two confidences.
class TrustingPolicy : public IConfidenceLevelPolicyCallback {
public:
    ~TrustingPolicy() override { disconnectHolders(); }
    unsigned int getConfidenceLevel(search_category_t, unsigned int) override { return 0; }
};

void report(const char* what, const char* name, const ObjectPtr<IValidFile>& file) {
    if (file)
        std::printf("%-7s %s -> %s (confidence %d, step %s)\n", what, name, file->name(),
                    static_cast<int>(file->confidence()), dump(file->searchStep()).c_str());
    else
        std::printf("%-7s %s -> not found\n", what, name);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s RESULT_DIR BINARY [SYMBOL_FILE [SOURCE_FILE]]\n", argv[0]);
        return 2;
    }
    ObjectPtr<IResolutionContextMgr> manager = IResolutionContextMgr::create();
    ObjectPtr<IResolutionContext> user = manager->createUserWideContext();
    ObjectPtr<IResolutionContext> result = manager->createResultDirectoryContext(argv[1]);
    if (!result) return 2;
    manager->addInheritance(*result, *user);

    // The user's own symbol store, searched recursively after the result's directories.
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scSymbolFiles, "/usr/lib/debug/.build-id", true, false);
    manager->registerSearchDirs(*user, dirs, kClient);
    TrustingPolicy policy;
    manager->registerConfidenceLevelPolicyCallback(*user, kClient, &policy);

    ObjectPtr<IFileSearch> search = manager->createFileSearch(*result, kClient, nullptr);
    ObjectPtr<IValidFile> binary = search->findBinFile(argv[2], nullptr, nullptr, 0);
    report("binary", argv[2], binary);
    if (argc > 3) {
        const char* binaryPath = binary ? binary->name() : argv[2];
        report("symbols", argv[3],
               search->findSymFile(argv[3], binaryPath, nullptr, nullptr, nullptr, nullptr, nullptr));
        if (argc > 4)
            report("source", argv[4],
                   search->findSrcFile(argv[4], binaryPath, nullptr, nullptr, nullptr));
    }
    return binary ? 0 : 1;
}
