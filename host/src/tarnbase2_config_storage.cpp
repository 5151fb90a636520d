// The host's configuration storage: a JSON document in one file, replaced atomically.
//
// A write:
// 1. dumps the document, indented, with a final newline;
// 2. writes it to a new file beside the target ("<file>.tmp-<pid>-<n>") with the old
//    file's mode, or 0600 for a new one, and flushes it;
// 3. when the loaded file was damaged, keeps it as "<file>.corrupt[.N]" (a hard link, or a
//    copy where linking is refused);
// 4. renames the new file over the target and flushes the directory.
// Any failure before the rename removes the new file and leaves the target as it was.
#include "tarnbase2/config_storage.h"

#include <boost/filesystem.hpp>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>

#include "platform/posix.h"

namespace tarnbase2 {

struct ConfigStorage::Document {
    nlohmann::json value = nlohmann::json::object();
};

namespace {

namespace fs = boost::filesystem;
namespace posix = FF_2_13::posix;

// Mode of a configuration file the storage creates: it may name the user's directories.
constexpr unsigned kNewFileMode = 0600;

std::string errnoText(const char* what, const std::string& name, int error) {
    return std::string(what) + " " + name + ": " + std::strerror(error);
}

// Keeps the file `name` under the name `copy` too: 0, or errno (EEXIST: `copy` is taken).
int keepAs(const std::string& name, const std::string& copy) {
    const int linkFailure = posix::makeHardLink(name.c_str(), copy.c_str());
    if (linkFailure == 0 || linkFailure == EEXIST) return linkFailure;
    // Linking may be refused (file systems without hard links, protected links): copy
    // the bytes instead.
    switch (posix::copyFileIntoPlace(name.c_str(), copy.c_str(), kNewFileMode)) {
        case posix::CopyResult::done:
            return 0;
        case posix::CopyResult::targetExists:
            return EEXIST;
        case posix::CopyResult::failed:
            break;
    }
    return errno;
}

// Keeps `name` as the first free "<name>.corrupt", "<name>.corrupt.1", ...
bool keepBeside(const std::string& name, std::string& keptAs, std::string& error) {
    for (int n = 0; n < 1000; ++n) {
        const std::string candidate = name + ".corrupt" + (n ? "." + std::to_string(n) : "");
        const int failure = keepAs(name, candidate);
        if (failure == EEXIST) continue;
        if (failure != 0) {
            error = errnoText("cannot keep the damaged file", name, failure);
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
    if (!posix::readWholeFile(m_targetName.c_str(), text)) {
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

    posix::FileReplacement replacement(m_targetName, kNewFileMode);
    if (!replacement.write(text, result.error)) return result;
    posix::FileStatus target;
    if (m_damaged && posix::statFile(m_targetName.c_str(), target) &&
        !keepBeside(m_targetName, result.keptAs, result.error))
        return result;
    if (!replacement.commit(result.error)) return result;
    m_damaged = false;
    m_loadProblem.clear();
    result.ok = true;
    return result;
}

}  // namespace tarnbase2
