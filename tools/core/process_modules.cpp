// Reading the modules of a process as loaded, module by module:
//  1. the vDSO: its whole image from the process's memory;
//  2. a file: stat the path and the mapped file (through map_files, else maps' device
//     and inode) and compare them: loaded, deleted or replaced;
//  3. a loaded file is read at its path; any other through map_files, else from memory.
#include "core/process_modules.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace ffcli {

namespace {

using FF_2_13::IFileIdentity;
using FF_2_13::ObjectPtr;

// The first pages of a module hold its ELF header, program headers and notes; a vDSO
// is a page or two. Anything larger is not read from memory.
constexpr std::uint64_t kMaxMemoryRead = 64 * 1024;
constexpr std::uint64_t kMaxVdsoSize = 1024 * 1024;

struct FileKey {
    dev_t device;
    ino_t inode;
    bool operator==(const FileKey& other) const {
        return device == other.device && inode == other.inode;
    }
};

std::optional<FileKey> keyOf(const std::string& path, int& error) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) {
        error = errno;
        return std::nullopt;
    }
    return FileKey{status.st_dev, status.st_ino};
}

class ProcessReader {
public:
    ProcessReader(const std::string& pid, std::vector<std::string>& notes)
        : m_pid(pid), m_notes(notes) {}
    ~ProcessReader() {
        if (m_memory >= 0) ::close(m_memory);
    }
    ProcessReader(const ProcessReader&) = delete;
    ProcessReader& operator=(const ProcessReader&) = delete;

    LoadedModule read(const MappedModule& mapping) {
        LoadedModule module;
        module.mapping = mapping;
        if (mapping.vdso) {
            module.identity = fromMemory(mapping.start, mapping.end, kMaxVdsoSize);
            return module;
        }
        int error = 0;
        const std::optional<FileKey> atPath = keyOf(mapping.path, error);
        const std::string mapFile =
            "/proc/" + m_pid + "/map_files/" + addressRange(mapping.headerStart, mapping.headerEnd);
        const std::optional<FileKey> mapped = mappedFile(mapping, mapFile);
        if (!atPath)
            module.state = LoadState::kDeleted;
        else if (!(*atPath == *mapped))
            module.state = LoadState::kReplaced;
        if (module.state == LoadState::kLoaded)
            module.identity = IFileIdentity::readFile(mapping.path.c_str());
        else if (m_mapFilesReadable)
            module.identity = IFileIdentity::readFile(mapFile.c_str());
        else
            module.identity = fromMemory(mapping.headerStart, mapping.headerEnd, kMaxMemoryRead);
        return module;
    }

private:
    // The mapped file's key: through map_files when it opens, else as maps gives it.
    std::optional<FileKey> mappedFile(const MappedModule& mapping, const std::string& mapFile) {
        if (m_mapFilesReadable) {
            int error = 0;
            if (std::optional<FileKey> key = keyOf(mapFile, error)) return key;
            if (error == EPERM || error == EACCES) {
                m_mapFilesReadable = false;
                note("cannot open /proc/" + m_pid + "/map_files (" + std::strerror(error) +
                     "): it takes more privileges; deleted and replaced modules are read from "
                     "the process's memory, and the device and inode in its maps tell which "
                     "files were replaced");
            }
        }
        return FileKey{makedev(mapping.deviceMajor, mapping.deviceMinor),
                       static_cast<ino_t>(mapping.inode)};
    }

    ObjectPtr<IFileIdentity> fromMemory(std::uint64_t start, std::uint64_t end,
                                        std::uint64_t limit) {
        if (m_memory < 0 && m_memoryError == 0) {
            m_memory = ::open(("/proc/" + m_pid + "/mem").c_str(), O_RDONLY | O_CLOEXEC);
            if (m_memory < 0) m_memoryError = errno;
        }
        if (m_memory < 0) {
            note("cannot read the memory of process " + m_pid + " (" +
                 std::strerror(m_memoryError) + "): modules no longer on disk stay unknown");
            return ObjectPtr<IFileIdentity>();
        }
        std::vector<char> bytes(static_cast<std::size_t>(std::min(end - start, limit)));
        const ssize_t count =
            ::pread(m_memory, bytes.data(), bytes.size(), static_cast<off_t>(start));
        if (count <= 0) return ObjectPtr<IFileIdentity>();
        return IFileIdentity::readImage(bytes.data(), static_cast<std::size_t>(count));
    }

    void note(const std::string& text) {
        if (std::find(m_notes.begin(), m_notes.end(), text) == m_notes.end())
            m_notes.push_back(text);
    }

    const std::string m_pid;
    std::vector<std::string>& m_notes;
    bool m_mapFilesReadable = true;
    int m_memory = -1;
    int m_memoryError = 0;
};

}  // namespace

const char* loadStateWord(LoadState state) {
    switch (state) {
        case LoadState::kLoaded:
            return "loaded";
        case LoadState::kDeleted:
            return "deleted";
        case LoadState::kReplaced:
            return "replaced";
    }
    return "loaded";
}

std::optional<std::vector<LoadedModule>> readLoadedModules(const std::string& pid,
                                                           std::vector<std::string>& notes,
                                                           std::string& error) {
    const std::optional<std::vector<MappedModule>> mappings = readProcMaps(pid, error);
    if (!mappings) return std::nullopt;
    ProcessReader reader(pid, notes);
    std::vector<LoadedModule> modules;
    for (const MappedModule& mapping : *mappings) modules.push_back(reader.read(mapping));
    return modules;
}

}  // namespace ffcli
