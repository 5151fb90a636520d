// Reads an open file in chunks of a fixed size and hands them, in order, to a consumer.
//
// Every read asks for exactly `chunkSize` bytes, so no more than a ring of chunks of a
// file is ever in memory. For a large file a second thread reads ahead into a bounded
// ring, with positional reads, while the caller's thread consumes the chunks in order
// (and reads one in six itself): the system calls then overlap the consumer's work
// (hashing) instead of adding to it, which is where a digest of a cached file spends
// about a fifth of its time. Small files, descriptors without an offset, and any case
// where no thread can be started are read on the caller's thread; the consumer sees the
// same bytes either way.
#pragma once

#include <cstddef>
#include <functional>

namespace mulkit2 {
namespace detail {

/// Gets each chunk as it is read; false stops the reading (the whole read then fails).
using chunk_consumer_t = std::function<bool(const unsigned char* data, std::size_t size)>;

/// Reads `fd` from its current offset to the end (a read shorter than a chunk ends it);
/// where the offset stands afterwards is not said. `expectedSize` (the size fstat gave)
/// only chooses between the two ways of reading. False on a read error or when the
/// consumer refused a chunk. `chunkSize` must not be 0.
bool read_in_chunks(int fd, unsigned int chunkSize, unsigned long long expectedSize,
                    const chunk_consumer_t& consume);

}  // namespace detail
}  // namespace mulkit2
