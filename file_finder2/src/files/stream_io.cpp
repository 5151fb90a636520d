// The compressed file and the unpacked file of an unpacking.
#include "files/stream_io.h"

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstring>

#include "ff_utils.h"

namespace FF_2_13 {

bool isElfIdentification(const std::string& header) {
    return header.compare(0, 4, "\x7F\x45\x4C\x46") == 0 &&  // 7F "ELF"
           (header[4] == 1 || header[4] == 2) && (header[5] == 1 || header[5] == 2) &&
           header[6] == 1;
}

bool StreamReader::readAt(std::uint64_t offset, void* buffer, size_t size, size_t& got) {
    got = 0;
    char* next = static_cast<char*>(buffer);
    while (got < size) {
        const std::ptrdiff_t count = posix::readSomeAt(m_fd, offset + got, next + got, size - got);
        if (count < 0) {
            m_error = errno;
            return false;
        }
        if (count == 0) break;
        got += static_cast<size_t>(count);
    }
    return true;
}

std::ptrdiff_t StreamReader::read(void* buffer, size_t size) {
    size_t got = 0;
    if (!readAt(m_position, buffer, size, got)) return -1;
    m_position += got;
    return static_cast<std::ptrdiff_t>(got);
}

UnpackedOutput::UnpackedOutput(std::string target, std::uint64_t maxSize)
    : m_target(std::move(target)), m_maxSize(maxSize) {}

UnpackedOutput::~UnpackedOutput() {
    restart();
}

void UnpackedOutput::restart() {
    m_fd.close();
    if (!m_temporary.empty()) utils::removeFile(m_temporary.c_str());
    m_temporary.clear();
    m_header.clear();
    m_size = 0;
    m_state = Write::ok;
    m_error = 0;
}

UnpackedOutput::Write UnpackedOutput::fail(Write why) {
    m_state = why;
    return why;
}

UnpackedOutput::Write UnpackedOutput::write(const void* data, size_t size) {
    if (m_state != Write::ok || size == 0) return m_state;
    if (size > m_maxSize - m_size) return fail(Write::tooLarge);
    m_size += size;
    if (m_temporary.empty()) {
        const size_t held = std::min(size, kElfIdentificationSize - m_header.size());
        m_header.append(static_cast<const char*>(data), held);
        if (m_header.size() < kElfIdentificationSize) return Write::ok;
        if (!isElfIdentification(m_header)) return fail(Write::notElf);
        m_fd = posix::createFileBeside(m_target, 0666, m_temporary);
        if (!m_fd.isOpen()) {
            m_error = errno;
            m_temporary.clear();
            return fail(Write::failed);
        }
        const Write header = writeOut(m_header.data(), m_header.size());
        if (header != Write::ok) return header;
        data = static_cast<const char*>(data) + held;
        size -= held;
    }
    return writeOut(data, size);
}

UnpackedOutput::Write UnpackedOutput::writeOut(const void* data, size_t size) {
    if (size == 0 || posix::writeAll(m_fd.get(), data, size)) return Write::ok;
    m_error = errno;
    return fail(Write::failed);
}

UnpackedOutput::Write UnpackedOutput::finish() {
    if (m_state != Write::ok) return m_state;
    if (m_temporary.empty()) return fail(Write::notElf);  // shorter than an identification
    if (!m_fd.close()) {
        m_error = errno;  // a write the file system gave up on only now
        return fail(Write::failed);
    }
    return Write::ok;
}

bool UnpackedOutput::commit() {
    boost::system::error_code error;  // reported through error()
    boost::filesystem::rename(m_temporary, m_target, error);
    if (error) {
        m_error = error.value();
        return false;
    }
    m_temporary.clear();
    return true;
}

}  // namespace FF_2_13
