// File: ff_object.h
//
// The object model: every object the library hands across its interface is an
// interface derived from IFFObject, made by a static `create(...)` of the interface
// and kept alive by intrusive reference counting through ObjectPtr<I>. Callers never
// delete a library object.
//
//   ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
//   dirs->addDirectory(scBinaryFiles, "/opt/app/lib", true, false);
//   ObjectPtr<ISearchDirContainer> readOnly = dirs;   // count 2, one object
//
// Counting is lock-free (one atomic 32-bit integer inside each object) and safe from
// any thread; one ObjectPtr instance itself must not be assigned by two threads at once.
#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "ff_export.h"

namespace FF_2_13 {

class ILock;

/// Root interface of every library object.
class FF_EXPORT IFFObject {
public:
    /// Adds one reference; returns the count after the increment.
    virtual int32_t addRef() = 0;
    /// Drops one reference; returns the count after the decrement. The call that brings
    /// the count to exactly 0 deletes the object before it returns.
    virtual int32_t release() = 0;
    virtual ~IFFObject() {}
};

namespace internal {

/// The hook the counter calls when the count reaches zero.
class IDeleteObserver {
public:
    virtual void onDelete() = 0;

protected:
    ~IDeleteObserver() = default;
};

/// The counting engine: a plain member of every counted object, never a separate block.
class FF_EXPORT RefCountHelper {
public:
    /// `lock`, when given, serialises the count changes (and the deletion) with other
    /// work on that lock; no object of the library uses one.
    explicit RefCountHelper(IDeleteObserver* observer, ILock* lock = nullptr) noexcept
        : m_count(0), m_observer(observer), m_lock(lock) {}
    RefCountHelper(const RefCountHelper&) = delete;
    RefCountHelper& operator=(const RefCountHelper&) = delete;

    int32_t addRef();
    int32_t release();

private:
    std::atomic<int32_t> m_count;
    IDeleteObserver* m_observer;
    ILock* m_lock;
};

}  // namespace internal

/// Counting base of every concrete class: `class FFLock : public RefCountImpl<ILock>`.
/// A new object has count 0; wrapping it in an ObjectPtr raises it to 1.
template <class I>
class RefCountImpl : public I, public internal::IDeleteObserver {
public:
    int32_t addRef() override { return m_refCount.addRef(); }
    int32_t release() override { return m_refCount.release(); }
    ~RefCountImpl() override = default;

protected:
    template <class... Args>
    explicit RefCountImpl(Args&&... args) : I(std::forward<Args>(args)...), m_refCount(this) {}
    RefCountImpl(const RefCountImpl&) = delete;
    RefCountImpl& operator=(const RefCountImpl&) = delete;

    void onDelete() override { delete this; }

private:
    internal::RefCountHelper m_refCount;
};

/// Intrusive smart pointer over a library interface.
template <class I>
class ObjectPtr {
public:
    ObjectPtr() noexcept : m_p(nullptr) {}
    ObjectPtr(std::nullptr_t) noexcept : m_p(nullptr) {}
    /// Takes a new reference: a pointer fresh from `new` (count 0) reaches count 1.
    explicit ObjectPtr(I* p) : m_p(p) {
        if (m_p) m_p->addRef();
    }
    ObjectPtr(const ObjectPtr& other) : m_p(other.m_p) {
        if (m_p) m_p->addRef();
    }
    ObjectPtr(ObjectPtr&& other) noexcept : m_p(other.m_p) { other.m_p = nullptr; }
    template <class D, class = std::enable_if_t<std::is_convertible<D*, I*>::value>>
    ObjectPtr(const ObjectPtr<D>& other) : m_p(other.get()) {
        if (m_p) m_p->addRef();
    }
    virtual ~ObjectPtr() {
        I* p = m_p;
        m_p = nullptr;
        if (p) p->release();
    }

    /// Holding the same object already is a no-op that leaves the count unchanged.
    ObjectPtr& operator=(const ObjectPtr& other) {
        if (m_p == other.m_p) return *this;
        I* incoming = other.m_p;
        // The new reference is taken before the old one goes, so that releasing an
        // object which owns `other` cannot pull the new pointer away.
        if (incoming) incoming->addRef();
        I* old = m_p;
        m_p = incoming;
        if (old) old->release();
        return *this;
    }
    ObjectPtr& operator=(ObjectPtr&& other) noexcept {
        if (this != &other) {
            I* old = m_p;
            m_p = other.m_p;
            other.m_p = nullptr;
            if (old) old->release();
        }
        return *this;
    }

    /// Adds a reference on behalf of a raw pointer handed out that must outlive `this`.
    void addRef() {
        if (m_p) m_p->addRef();
    }

    I* get() const noexcept { return m_p; }
    I* operator->() const noexcept { return m_p; }
    I& operator*() const noexcept { return *m_p; }
    explicit operator bool() const noexcept { return m_p != nullptr; }

private:
    I* m_p;
};

template <class A, class B>
bool operator==(const ObjectPtr<A>& a, const ObjectPtr<B>& b) {
    return a.get() == b.get();
}
template <class A, class B>
bool operator!=(const ObjectPtr<A>& a, const ObjectPtr<B>& b) {
    return a.get() != b.get();
}
template <class A>
bool operator==(const ObjectPtr<A>& a, std::nullptr_t) {
    return !a;
}
template <class A>
bool operator!=(const ObjectPtr<A>& a, std::nullptr_t) {
    return static_cast<bool>(a);
}

}  // namespace FF_2_13
