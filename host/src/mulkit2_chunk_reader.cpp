#include "mulkit2_chunk_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
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

// A single-producer, single-consumer ring of chunks. The reader thread fills slots and
// publishes them in batches; the consumer drains them in order. Counters are chunk
// numbers since the start, so `produced - consumed` is the number of filled slots.
class ReadAheadRing {
public:
    ReadAheadRing(int fd, unsigned int chunkSize)
        : m_fd(fd),
          m_chunkSize(chunkSize),
          m_slots(std::max<std::size_t>(4, kRingBytes / chunkSize)),
          m_handOver(std::min(kHandOverChunks, m_slots / 4)),
          m_storage(new unsigned char[m_slots * chunkSize]),
          m_lengths(m_slots) {}

    ReadAheadRing(const ReadAheadRing&) = delete;
    ReadAheadRing& operator=(const ReadAheadRing&) = delete;

    // Runs on the reader thread until the end of the file, a read error, or stop().
    void produce() {
        std::size_t next = 0;
        std::size_t room = m_slots;
        for (;;) {
            std::size_t filled = 0;
            bool atEnd = false;
            bool failed = false;
            while (filled < room && filled < m_handOver) {
                const std::size_t slot = (next + filled) % m_slots;
                const ssize_t count = readOnce(m_fd, slotData(slot), m_chunkSize);
                if (count <= 0) {
                    atEnd = count == 0;
                    failed = count < 0;
                    break;
                }
                m_lengths[slot] = static_cast<std::size_t>(count);
                ++filled;
            }
            next += filled;

            std::unique_lock<std::mutex> lock(m_mutex);
            m_produced = next;
            if (atEnd || failed) {
                m_finished = true;
                m_readFailed = failed;
                m_changed.notify_all();
                return;
            }
            if (m_consumerWaiting) m_changed.notify_all();
            if (freeSlots() == 0) {
                // Wait for half the ring, not one slot, so the consumer wakes us rarely.
                m_producerWaiting = true;
                m_changed.wait(lock, [&] { return m_stopped || freeSlots() >= m_slots / 2; });
                m_producerWaiting = false;
            }
            if (m_stopped) return;
            room = freeSlots();
        }
    }

    // Runs on the calling thread: passes every chunk to `consume`, in file order.
    bool consumeAll(const chunk_consumer_t& consume) {
        std::size_t next = 0;
        for (;;) {
            std::size_t available = 0;
            {
                std::unique_lock<std::mutex> lock(m_mutex);
                m_consumed = next;
                if (m_producerWaiting && freeSlots() >= m_slots / 2) m_changed.notify_all();
                m_consumerWaiting = true;
                m_changed.wait(lock, [&] { return m_produced > next || m_finished; });
                m_consumerWaiting = false;
                if (m_readFailed) return false;
                available = m_produced - next;
            }
            if (available == 0) return true;  // finished and drained
            available = std::min(available, m_handOver);
            for (std::size_t i = 0; i < available; ++i) {
                const std::size_t slot = (next + i) % m_slots;
                if (!consume(slotData(slot), m_lengths[slot])) return false;
            }
            next += available;
        }
    }

    // Makes the reader thread return at its next batch; safe to call more than once.
    void stop() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
        m_changed.notify_all();
    }

private:
    unsigned char* slotData(std::size_t slot) { return m_storage.get() + slot * m_chunkSize; }
    // Called with m_mutex held.
    std::size_t freeSlots() const { return m_slots - (m_produced - m_consumed); }

    const int m_fd;
    const unsigned int m_chunkSize;
    const std::size_t m_slots;
    const std::size_t m_handOver;  // chunks passed to the other side per lock
    std::unique_ptr<unsigned char[]> m_storage;
    std::vector<std::size_t> m_lengths;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_produced = 0;
    std::size_t m_consumed = 0;
    bool m_finished = false;
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

    ReadAheadRing ring(fd, chunkSize);
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
