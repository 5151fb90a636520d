// The host's configuration storage: a JSON document in one file, replaced atomically.
//
// A write:
// 1. dumps the document, indented, with a final newline;
// 2. creates a temporary file beside the target ("<file>.tmp-XXXXXX"), gives it the old
//    file's mode, writes the text and fsyncs it;
// 3. when the loaded file was damaged, keeps it as "<file>.corrupt[.N]" (a hard link, or a
//    copy where linking is refused);
// 4. renames the temporary file over the target and fsyncs the directory.
// Any failure before the rename removes the temporary file and leaves the target as it was.
#include "tarnbase2/config_storage.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cstring>
#include <nlohmann/json.hpp>
#include <vector>

namespace tarnbase2 {

struct ConfigStorage::Document {
    nlohmann::json value = nlohmann::json::object();
};

namespace {

namespace fs = boost::filesystem;

std::string errnoText(const char* what, const std::string& name, int error) {
    return std::string(what) + " " + name + ": " + std::strerror(error);
}

// Reads the whole file; false with errno set on failure.
bool readFile(const std::string& name, std::string& text) {
    int fd = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    text.clear();
    char buffer[65536];
    for (;;) {
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            int saved = errno;
            ::close(fd);
            errno = saved;
            return false;
        }
        if (n == 0) break;
        text.append(buffer, static_cast<size_t>(n));
    }
    ::close(fd);
    return true;
}

bool writeAll(int fd, const std::string& text) {
    const char* p = text.data();
    size_t left = text.size();
    while (left > 0) {
        ssize_t n = ::write(fd, p, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        left -= static_cast<size_t>(n);
    }
    return true;
}

std::string directoryOf(const std::string& name) {
    std::string dir = fs::path(name).parent_path().string();
    return dir.empty() ? "." : dir;
}

// Keeps `name` as the first free "<name>.corrupt", "<name>.corrupt.1", ...
bool keepBeside(const std::string& name, std::string& keptAs, std::string& error) {
    for (int n = 0; n < 1000; ++n) {
        std::string candidate = name + ".corrupt" + (n ? "." + std::to_string(n) : "");
        if (::link(name.c_str(), candidate.c_str()) == 0) {
            keptAs = candidate;
            return true;
        }
        if (errno == EEXIST) continue;
        // Linking may be refused (file systems without hard links, protected links):
        // copy the bytes instead.
        std::string bytes;
        if (!readFile(name, bytes)) {
            error = errnoText("cannot keep the damaged file", name, errno);
            return false;
        }
        int fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0 && errno == EEXIST) continue;
        if (fd < 0) {
            error = errnoText("cannot create", candidate, errno);
            return false;
        }
        const bool written = writeAll(fd, bytes) && ::fsync(fd) == 0;
        const int saved = errno;
        ::close(fd);
        if (!written) {
            ::unlink(candidate.c_str());
            error = errnoText("cannot write", candidate, saved);
            return false;
        }
        keptAs = candidate;
        return true;
    }
    error = "cannot keep the damaged file " + name + ": too many kept copies";
    return false;
}

}  // namespace

ConfigStorage::ConfigStorage(std::string fileName)
    : m_fileName(std::move(fileName)), m_targetName(m_fileName), m_document(new Document) {
    boost::system::error_code ec;
    // Replacing a symbolic link by the new file would cut the host's link; write where
    // it points instead. A dangling link is written through as it is.
    if (fs::is_symlink(m_fileName, ec)) {
        fs::path target = fs::canonical(m_fileName, ec);
        if (!ec) m_targetName = target.string();
    }

    std::string text;
    if (!readFile(m_targetName, text)) {
        if (errno != ENOENT) {
            m_loadProblem = errnoText("cannot read", m_fileName, errno);
            m_damaged = true;
        }
        return;
    }
    if (text.find_first_not_of(" \t\r\n") == std::string::npos) return;  // empty: nothing lost
    try {
        nlohmann::json parsed = nlohmann::json::parse(text);
        if (!parsed.is_object()) {
            m_loadProblem = m_fileName + " does not hold a JSON object";
            m_damaged = true;
            return;
        }
        m_document->value = std::move(parsed);
    } catch (const nlohmann::json::exception& e) {
        m_loadProblem = m_fileName + " is not valid JSON: " + e.what();
        m_damaged = true;
    }
}

ConfigStorage::~ConfigStorage() = default;

std::string ConfigStorage::loadProblem() const {
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_loadProblem;
}

bool ConfigStorage::getProperty(const std::string& key, std::string& jsonText) const {
    std::lock_guard<std::mutex> guard(m_mutex);
    auto found = m_document->value.find(key);
    if (found == m_document->value.end()) return false;
    jsonText = found->dump();
    return true;
}

void ConfigStorage::keepDamagedFile() {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_damaged = true;
}

ConfigStorage::WriteResult ConfigStorage::setProperty(const std::string& key,
                                                      const std::string& jsonText) {
    std::lock_guard<std::mutex> guard(m_mutex);
    try {
        m_document->value[key] = nlohmann::json::parse(jsonText);
    } catch (const nlohmann::json::exception& e) {
        WriteResult refused;
        refused.error = "the value of " + key + " is not valid JSON: " + e.what();
        return refused;
    }
    return writeLocked();
}

ConfigStorage::WriteResult ConfigStorage::writeLocked() {
    WriteResult result;
    std::string text;
    try {
        text = m_document->value.dump(2) + "\n";
    } catch (const nlohmann::json::exception& e) {
        result.error = std::string("cannot write the document: ") + e.what();
        return result;
    }

    std::string tempName = m_targetName + ".tmp-XXXXXX";
    std::vector<char> tempBuffer(tempName.begin(), tempName.end());
    tempBuffer.push_back('\0');
    int fd = ::mkstemp(tempBuffer.data());
    if (fd < 0) {
        result.error = errnoText("cannot create a temporary file for", m_fileName, errno);
        return result;
    }
    tempName = tempBuffer.data();
    auto fail = [&](const std::string& error) {
        ::unlink(tempName.c_str());
        result.error = error;
        return result;
    };

    struct stat old;
    if (::stat(m_targetName.c_str(), &old) == 0) ::fchmod(fd, old.st_mode & 07777);
    const bool written = writeAll(fd, text) && ::fsync(fd) == 0;
    const int writeError = errno;
    const bool closed = ::close(fd) == 0;
    if (!written || !closed) return fail(errnoText("cannot write", tempName, writeError));

    if (m_damaged && ::access(m_targetName.c_str(), F_OK) == 0) {
        std::string error;
        if (!keepBeside(m_targetName, result.keptAs, error)) return fail(error);
    }
    if (::rename(tempName.c_str(), m_targetName.c_str()) != 0)
        return fail(errnoText("cannot replace", m_fileName, errno));

    // The rename is durable only once the directory is flushed; a failure here leaves
    // a complete file, old or new, so it is not reported.
    int dirFd = ::open(directoryOf(m_targetName).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
    m_damaged = false;
    m_loadProblem.clear();
    result.ok = true;
    return result;
}

}  // namespace tarnbase2
