#pragma once

#include <utility>

#include "base/RefBase.h"

// A copyable piece of deferred work: a member function, the object to call it on and at most one
// argument, callable later without arguments.
//
//     Callback<void (*)()> task(&Handler::handleMessage, UnsafeRawPtr<Handler>(handler), message);
//     task();
//
// The binding lives in a reference-counted context that copies share, so the bound argument lives
// as long as the last copy. A callback may be built on one thread and run on another.

// A plain, non-owning pointer to the object, which must outlive every run. (Given an sp instead,
// the callback keeps its object.)
template <typename T>
class UnsafeRawPtr {
  public:
    explicit UnsafeRawPtr(T* object) : mObject(object) {}
    T* get() const { return mObject; }

  private:
    T* mObject;
};

class CallbackContextBase : public RefBase {
  public:
    const char* getName() const override { return "CallbackContextBase"; }
};

template <typename Function, typename PointerType>
class CallbackContext;

template <typename R, typename T, typename PointerType>
class CallbackContext<R (T::*)(), PointerType> : public CallbackContextBase {
  public:
    CallbackContext(R (T::*function)(), const PointerType& object)
        : mFunction(function), mObject(object) {}

    const char* getName() const override { return "CallbackContext<R(T::*)(), PointerType>"; }

    // The context must outlive the call: Callback sees to that.
    static R run(CallbackContextBase* base) {
        auto* const self = static_cast<CallbackContext*>(base);
        return (self->mObject.get()->*self->mFunction)();
    }

  private:
    R (T::*const mFunction)();
    const PointerType mObject;
};

template <typename R, typename T, typename A1, typename PointerType>
class CallbackContext<R (T::*)(A1), PointerType> : public CallbackContextBase {
  public:
    CallbackContext(R (T::*function)(A1), const PointerType& object, const A1& argument)
        : mFunction(function), mObject(object), mArgument(argument) {}

    const char* getName() const override { return "CallbackContext<R(T::*)(A1), PointerType>"; }

    static R run(CallbackContextBase* base) {
        auto* const self = static_cast<CallbackContext*>(base);
        return (self->mObject.get()->*self->mFunction)(self->mArgument);
    }

  private:
    R (T::*const mFunction)(A1);
    const PointerType mObject;
    const A1 mArgument;
};

template <typename F>
class Callback;

template <typename R>
class Callback<R (*)()> {
  public:
    // An empty callback; it must not be called.
    Callback() = default;

    template <typename T, typename U>
    Callback(R (T::*function)(), const UnsafeRawPtr<U>& object)
        : mContext(new CallbackContext<R (T::*)(), UnsafeRawPtr<U>>(function, object)),
          mRun(&CallbackContext<R (T::*)(), UnsafeRawPtr<U>>::run) {}

    template <typename T, typename U>
    Callback(R (T::*function)(), const sp<U>& object)
        : mContext(new CallbackContext<R (T::*)(), sp<U>>(function, object)),
          mRun(&CallbackContext<R (T::*)(), sp<U>>::run) {}

    template <typename T, typename U, typename A1>
    Callback(R (T::*function)(A1), const UnsafeRawPtr<U>& object, const A1& argument)
        : mContext(new CallbackContext<R (T::*)(A1), UnsafeRawPtr<U>>(function, object, argument)),
          mRun(&CallbackContext<R (T::*)(A1), UnsafeRawPtr<U>>::run) {}

    // Holds the context during the call: the call may drop every other reference to it, and this
    // callback as well.
    R operator()() const { return Callback(*this).runOnce(); }

    // The same for a callback that is not needed any more, and is empty afterwards.
    R runOnce() {
        const sp<CallbackContextBase> context(std::move(mContext));
        R (*const run)(CallbackContextBase*) = mRun;
        mRun = nullptr;
        return run(context.get());
    }

    explicit operator bool() const { return mRun != nullptr; }

    // Whether both run the same binding, that is, whether one is a copy of the other.
    bool operator==(const Callback& other) const {
        return mContext == other.mContext && mRun == other.mRun;
    }
    bool operator!=(const Callback& other) const { return !(*this == other); }

  private:
    sp<CallbackContextBase> mContext;
    R (*mRun)(CallbackContextBase*) = nullptr;
};
