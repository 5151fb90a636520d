// Reference counting of library objects.
#include "ff_object.h"

#include "ff_lock.h"

namespace FF_2_13 {
namespace internal {

int32_t RefCountHelper::addRef() {
    FFLockWrap guard(m_lock);
    return m_count.fetch_add(1) + 1;
}

int32_t RefCountHelper::release() {
    // The object holding this helper may be gone when the lock is given back, so the
    // lock pointer is read once, here, and released through the copy.
    FFLockWrap guard(m_lock);
    const int32_t count = m_count.fetch_sub(1) - 1;
    if (count == 0 && m_observer) m_observer->onDelete();
    return count;
}

}  // namespace internal
}  // namespace FF_2_13
