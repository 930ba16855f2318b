#pragma once

#include <atomic>
#include <cstdint>

// Host and library hand each other objects with strings and lists in them, so both must lay these
// out alike. The public headers (this one, base/BrainEvent.h, brain/BrainMainApi.h) are empty where
// they would not, so that a wrong build hears of it in one line.
#if !defined(_LIBCPP_VERSION) || defined(_LIBCPP_ABI_ALTERNATE_STRING_LAYOUT)
#error "libksbrain shares strings and lists in libc++'s ABI 1 layout: build with -stdlib=libc++"
#elif __SIZEOF_POINTER__ != 8
#error "libksbrain shares objects in the layout of 64-bit processes: build for 64 bits"
#else
#define KSBRAIN_SHARED_LAYOUT
#endif

#if defined(KSBRAIN_SHARED_LAYOUT)

// An object that counts its strong references and deletes itself with the last of them.
//
//     class Session : public RefBase { ... };
//     sp<Session> session(new Session);
//
// The count may be changed from any thread; the thread that takes it to 0 runs onLastRef() and the
// destructor. Everything is in this header, so that a host which hands its own objects to the
// library needs no symbol of it. The layout is shared with such hosts: the virtual table pointer at
// offset 0, the count at offset 8.
class RefBase {
  public:
    // The count of an object that no reference has ever been taken to.
    static constexpr int32_t INITIAL_STRONG_COUNT = 0x10000000;

    // The name of the object's class, a string literal.
    virtual const char* getName() const { return "RefBase"; }

    virtual ~RefBase() = default;

    // Run once, when the first strong reference is taken.
    virtual void onFirstRef() const {}

    // Run once, on the thread that gives up the last strong reference, before the destructor.
    virtual void onLastRef() const {}

    // `id` names the holder (the address of an `sp`); it is not used.
    void incStrong(const void* /*id*/) const {
        if (mStrong.fetch_add(1, std::memory_order_release) != INITIAL_STRONG_COUNT) return;
        mStrong.fetch_sub(INITIAL_STRONG_COUNT, std::memory_order_release);
        onFirstRef();
    }

    void decStrong(const void* /*id*/) const {
        if (mStrong.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
        onLastRef();
        delete this;
    }

    // For tests and diagnostics: it may be out of date when it returns.
    int32_t getStrongCount() const { return mStrong.load(std::memory_order_relaxed); }

  protected:
    RefBase() = default;

  private:
    RefBase(const RefBase&) = delete;
    RefBase& operator=(const RefBase&) = delete;

    mutable std::atomic<int32_t> mStrong{INITIAL_STRONG_COUNT};
};

// A strong pointer to a RefBase object; null is allowed. Distinct `sp`s to one object may be used
// from different threads, one `sp` may not be assigned from two at once.
template <typename T>
class sp {
  public:
    sp() = default;
    sp(T* object) : mPointer(object) { acquire(mPointer); }
    sp(const sp& other) : mPointer(other.mPointer) { acquire(mPointer); }
    sp(sp&& other) noexcept : mPointer(other.mPointer) { other.mPointer = nullptr; }
    template <typename U>
    sp(const sp<U>& other) : mPointer(other.get()) {
        acquire(mPointer);
    }
    ~sp() { release(mPointer); }

    // The new object is taken before the old one is given up, so an assignment to itself is safe.
    sp& operator=(T* object) {
        acquire(object);
        T* old = mPointer;
        mPointer = object;
        release(old);
        return *this;
    }
    sp& operator=(const sp& other) { return *this = other.mPointer; }
    sp& operator=(sp&& other) noexcept {
        T* const object = other.mPointer;
        other.mPointer = nullptr;
        T* const old = mPointer;
        mPointer = object;
        release(old);
        return *this;
    }

    void reset() { *this = static_cast<T*>(nullptr); }

    T* get() const { return mPointer; }
    T* operator->() const { return mPointer; }
    T& operator*() const { return *mPointer; }
    explicit operator bool() const { return mPointer != nullptr; }

  private:
    // RefBase may be a virtual base of T: the conversion finds it.
    void acquire(T* object) {
        if (object != nullptr) static_cast<const RefBase*>(object)->incStrong(this);
    }
    void release(T* object) {
        if (object != nullptr) static_cast<const RefBase*>(object)->decStrong(this);
    }

    T* mPointer = nullptr;
};

template <typename T, typename U>
bool operator==(const sp<T>& a, const sp<U>& b) {
    return a.get() == b.get();
}
template <typename T, typename U>
bool operator!=(const sp<T>& a, const sp<U>& b) {
    return a.get() != b.get();
}

#endif  // KSBRAIN_SHARED_LAYOUT
