#include "mulkit2_chunk_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace mulkit2 {
namespace detail {

namespace {

// Below this size a second thread costs more than the overlap wins.
constexpr unsigned long long kReadAheadMinFileSize = 1ull << 20;
// Tiny chunks would make the reader thread the bottleneck; huge ones leave no ring.
constexpr unsigned int kReadAheadMinChunk = 1024;
constexpr unsigned int kReadAheadMaxChunk = 256 * 1024;
// The ring holds about this many bytes of chunks read ahead of the consumer. Larger than
// a core's own cache: a slot is written again only after the consumer's core has let
// its lines go, so the kernel's copy into it does not have to take them from that core.
constexpr std::size_t kRingBytes = 2 << 20;
// Chunks passed over per lock: often enough to keep the other side busy, rarely enough
// that the lock and the wake-ups cost nothing next to the reads.
constexpr std::size_t kHandOverChunks = 64;

// One read(2) of up to `size` bytes, retried when a signal interrupts it. -1 on error.
ssize_t readOnce(int fd, unsigned char* buffer, unsigned int size) {
    for (;;) {
        const ssize_t count = ::read(fd, buffer, size);
        if (count >= 0 || errno != EINTR) return count;
    }
}

bool readOnCallingThread(int fd, unsigned int chunkSize, const chunk_consumer_t& consume) {
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[chunkSize]);
    for (;;) {
        const ssize_t count = readOnce(fd, buffer.get(), chunkSize);
        if (count == 0) return true;
        if (count < 0) return false;
        if (!consume(buffer.get(), static_cast<std::size_t>(count))) return false;
    }
}

// Positional read of up to `size` bytes, retried when a signal interrupts it.
ssize_t readAt(int fd, unsigned char* buffer, unsigned int size, off_t offset) {
    for (;;) {
        const ssize_t count = ::pread(fd, buffer, size, offset);
        if (count >= 0 || errno != EINTR) return count;
    }
}

// The consumer reads one chunk in this many itself. Its own reads land in its own cache;
// the reader thread's land in a ring the consumer's core must fetch them from, which
// makes them dearer: with this share, neither side waits long for the other whether
// the hash is slow (MD5) or fast (SHA1).
constexpr std::size_t kConsumerShare = 6;

// Chunks are numbered from the starting offset. Every kConsumerShare-th chunk is read by
// the consumer itself, into a buffer of its own, the others by the reader thread into a
// ring of slots (chunk k in slot k % slots), published in batches. A chunk shorter than
// the chunk size, or empty, ends the file: `m_end` is the number of chunks it has.
class ReadAheadRing {
public:
    ReadAheadRing(int fd, off_t start, unsigned int chunkSize)
        : m_fd(fd),
          m_start(start),
          m_chunkSize(chunkSize),
          m_slots(std::max<std::size_t>(4, kRingBytes / chunkSize)),
          m_handOver(std::min(kHandOverChunks, m_slots / 4)),
          m_storage(new unsigned char[m_slots * chunkSize]),
          m_lengths(m_slots),
          m_ownBuffer(new unsigned char[chunkSize]) {}

    ReadAheadRing(const ReadAheadRing&) = delete;
    ReadAheadRing& operator=(const ReadAheadRing&) = delete;

    // Runs on the reader thread until the end of the file, a read error, or stop().
    void produce() {
        std::size_t next = 0;
        std::size_t limit = m_slots;  // chunks below it have a free slot
        for (;;) {
            bool atEnd = false;
            bool failed = false;
            std::size_t chunksInFile = SIZE_MAX;
            const std::size_t batchEnd = std::min(limit, next + m_handOver);
            for (; next < batchEnd && !atEnd; ++next) {
                if (readByConsumer(next)) continue;
                const std::size_t slot = next % m_slots;
                const ssize_t count = readAt(m_fd, slotData(slot), m_chunkSize, offsetOf(next));
                if (count < 0) {
                    failed = true;
                    break;
                }
                m_lengths[slot] = static_cast<std::size_t>(count);
                atEnd = count < static_cast<ssize_t>(m_chunkSize);
                if (atEnd) chunksInFile = next + (count > 0 ? 1 : 0);
            }

            std::unique_lock<std::mutex> lock(m_mutex);
            m_produced = next;
            m_readFailed = m_readFailed || failed;
            m_end = std::min(m_end, chunksInFile);
            if (m_consumerWaiting) m_changed.notify_all();
            if (failed || atEnd || m_stopped) return;
            if (next >= m_consumed + m_slots) {
                // Wait for half the ring, not one slot, so the consumer wakes us rarely.
                m_producerWaiting = true;
                m_changed.wait(
                    lock, [&] { return m_stopped || m_consumed + m_slots - next >= m_slots / 2; });
                m_producerWaiting = false;
                if (m_stopped) return;
            }
            limit = m_consumed + m_slots;
        }
    }

    // Runs on the calling thread: passes every chunk to `consume`, in file order.
    bool consumeAll(const chunk_consumer_t& consume) {
        std::size_t next = 0;
        for (;;) {
            std::size_t ready = 0;  // chunks below it that the reader thread has published
            std::size_t end = 0;
            {
                std::unique_lock<std::mutex> lock(m_mutex);
                m_consumed = next;
                if (m_producerWaiting && m_consumed + m_slots - m_produced >= m_slots / 2)
                    m_changed.notify_all();
                if (!readByConsumer(next)) {
                    m_consumerWaiting = true;
                    m_changed.wait(
                        lock, [&] { return m_produced > next || m_readFailed || next >= m_end; });
                    m_consumerWaiting = false;
                }
                if (m_readFailed) return false;
                if (next >= m_end) return true;
                ready = std::min(m_produced, m_end);
                end = m_end;
            }
            for (const std::size_t last = std::min(next + m_handOver, end); next < last; ++next) {
                if (readByConsumer(next)) {
                    const ssize_t count =
                        readAt(m_fd, m_ownBuffer.get(), m_chunkSize, offsetOf(next));
                    if (count < 0) return false;
                    if (count > 0 && !consume(m_ownBuffer.get(), std::size_t(count))) return false;
                    if (count < static_cast<ssize_t>(m_chunkSize)) return true;
                } else if (next < ready) {
                    const std::size_t slot = next % m_slots;
                    if (!consume(slotData(slot), m_lengths[slot])) return false;
                } else {
                    break;
                }
            }
        }
    }

    // Makes the reader thread return at its next batch; safe to call more than once.
    void stop() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
        m_changed.notify_all();
    }

private:
    bool readByConsumer(std::size_t chunk) const { return chunk % kConsumerShare == 0; }
    off_t offsetOf(std::size_t chunk) const {
        return m_start + static_cast<off_t>(chunk) * static_cast<off_t>(m_chunkSize);
    }
    unsigned char* slotData(std::size_t slot) { return m_storage.get() + slot * m_chunkSize; }

    const int m_fd;
    const off_t m_start;
    const unsigned int m_chunkSize;
    const std::size_t m_slots;
    const std::size_t m_handOver;  // chunks passed to the other side per lock
    std::unique_ptr<unsigned char[]> m_storage;
    std::vector<std::size_t> m_lengths;
    std::unique_ptr<unsigned char[]> m_ownBuffer;  // the consumer's chunks

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_produced = 0;  // the reader thread's chunks below it are in their slots
    std::size_t m_consumed = 0;
    std::size_t m_end = SIZE_MAX;
    bool m_readFailed = false;
    bool m_stopped = false;
    bool m_producerWaiting = false;
    bool m_consumerWaiting = false;
};

// Stops and joins the reader thread on every way out, an exception from the consumer
// included: the thread reads into the ring, which must outlive it.
class ReaderThread {
public:
    explicit ReaderThread(ReadAheadRing& ring)
        : m_ring(ring), m_thread([&ring] { ring.produce(); }) {}
    ~ReaderThread() {
        m_ring.stop();
        m_thread.join();
    }
    ReaderThread(const ReaderThread&) = delete;
    ReaderThread& operator=(const ReaderThread&) = delete;

private:
    ReadAheadRing& m_ring;
    std::thread m_thread;
};

}  // namespace

bool read_in_chunks(int fd, unsigned int chunkSize, unsigned long long expectedSize,
                    const chunk_consumer_t& consume) {
    const bool worthReadingAhead = expectedSize >= kReadAheadMinFileSize &&
                                   chunkSize >= kReadAheadMinChunk &&
                                   chunkSize <= kReadAheadMaxChunk;
    if (!worthReadingAhead) return readOnCallingThread(fd, chunkSize, consume);

    const off_t start = ::lseek(fd, 0, SEEK_CUR);
    if (start < 0) return readOnCallingThread(fd, chunkSize, consume);
    ReadAheadRing ring(fd, start, chunkSize);
    std::unique_ptr<ReaderThread> reader;
    try {
        reader.reset(new ReaderThread(ring));
    } catch (const std::system_error&) {
        // No thread to be had (a process at its limit): nothing was read yet, so the
        // plain way still gives the whole file.
        return readOnCallingThread(fd, chunkSize, consume);
    }
    return ring.consumeAll(consume);
}

}  // namespace detail
}  // namespace mulkit2
