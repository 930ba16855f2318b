// What host and library agree on without a word: where the fields of the objects that cross over
// lie, and which entry of a virtual table an operation is called through. Whoever changes a number
// here has every host rebuilt. (base/BrainEvent.h pins the event record itself, in every host's
// compiler.)

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "brain/BrainMain.h"
#include "looper/LooperThread.h"
#include "preload/AppPreloadModel.h"

namespace {

// The entry, from 0, of the table at the front of a Class object that calls of the member function
// go through; -1 when it is another of its tables, or none.
template <typename Class, typename Function, typename Base>
int slotIn(Function Base::*member) {
    Function Class::*const inClass = member;
    struct {
        uintptr_t pointer;
        uintptr_t adjustment;
    } bits;
    static_assert(sizeof(bits) == sizeof(inClass), "what to call, and what to add to `this`");
    memcpy(&bits, &inClass, sizeof(bits));
#if defined(__aarch64__)
    // The mark of a virtual function is the adjustment's lowest bit: a function may be at an odd
    // address.
    const bool atFront = bits.adjustment == 1;
#else
    const bool atFront = bits.adjustment == 0 && bits.pointer % 2 == 1;
#endif
    return atFront ? static_cast<int>(bits.pointer / sizeof(void*)) : -1;
}

struct Operation {
    const char* name;
    int agreed;
    int slot;
};

#define OPERATION(agreed, Class, name) \
    makeOperation(#Class "::" #name, agreed, slotIn<Class>(&Class::name))

// Where several operations share the name, the type tells them apart.
#define OVERLOAD(agreed, Class, name, type) \
    makeOperation(#Class "::" #name " " #type, agreed, slotIn<Class, type>(&Class::name))

Operation makeOperation(const char* name, int agreed, int slot) {
    return {name, agreed, slot};
}

using ThreadContext = CallbackContext<int (Thread::*)(), UnsafeRawPtr<Thread>>;
using HandlerContext = CallbackContext<void (Handler::*)(sp<Message>), UnsafeRawPtr<Handler>>;
using EventCallback = KsLooper::EventCallback;

// A destructor cannot be named. It has two entries, the second of which frees the object as well:
// those that the operations leave out.
const Operation OPERATIONS[] = {
    OPERATION(0, RefBase, getName),
    OPERATION(3, RefBase, onFirstRef),
    OPERATION(4, RefBase, onLastRef),

    OPERATION(0, BrainEvent, getName),
    OPERATION(3, BrainEvent, onFirstRef),
    OPERATION(4, BrainEvent, onLastRef),

    OPERATION(0, Message, getName),
    OPERATION(3, Message, onFirstRef),
    OPERATION(4, Message, onLastRef),

    OPERATION(0, BrainDataListener, getName),
    OPERATION(3, BrainDataListener, onFirstRef),
    OPERATION(4, BrainDataListener, onLastRef),
    OPERATION(5, BrainDataListener, onBrainDataAvailable),

    OPERATION(0, AppPreloadModel, getName),
    OPERATION(3, AppPreloadModel, onFirstRef),
    OPERATION(4, AppPreloadModel, onLastRef),
    OPERATION(5, AppPreloadModel, onBrainDataAvailable),

    OPERATION(0, ThreadContext, getName),
    OPERATION(3, ThreadContext, onFirstRef),
    OPERATION(4, ThreadContext, onLastRef),
    OPERATION(0, HandlerContext, getName),
    OPERATION(3, HandlerContext, onFirstRef),
    OPERATION(4, HandlerContext, onLastRef),

    OPERATION(2, TimerNotifier, notifyDelayChange),

    OPERATION(0, KsLooper, getName),
    OPERATION(3, KsLooper, onFirstRef),
    OPERATION(4, KsLooper, onLastRef),
    OVERLOAD(5, KsLooper, addEventHandler,
             bool(int, EventCallback, void*, EventCallback, unsigned)),
    OPERATION(6, KsLooper, removeEventHandler),
    OVERLOAD(7, KsLooper, addEventHandler, bool(int, sp<SocketTask>, unsigned)),
    OPERATION(8, KsLooper, addTerminatedHandler),
    OPERATION(9, KsLooper, wake),
    OPERATION(10, KsLooper, run),
    OPERATION(11, KsLooper, getHandlerSize),
    OPERATION(12, KsLooper, getTerminatedFlag),
    OPERATION(13, KsLooper, getEpoolFd),
    OPERATION(14, KsLooper, getEventFd),
    OPERATION(15, KsLooper, processTasks),
    OPERATION(16, KsLooper, emitQuit),

    OPERATION(0, Looper, getName),
    OPERATION(10, Looper, run),
    OPERATION(15, Looper, processTasks),
    OPERATION(16, Looper, emitQuit),
    OPERATION(17, Looper, sendTask),
    OPERATION(18, Looper, sendDelayTask),
    OVERLOAD(19, Looper, releaseDelayTask, int(int)),
    OPERATION(20, Looper, addQuitListener),
    OPERATION(21, Looper, removeQuitListener),
    OPERATION(22, Looper, notifyDelayChange),
    OVERLOAD(23, Looper, releaseDelayTask, void(sp<DelayedTaskContext>)),

    OPERATION(0, SimpleThread, getName),
    OPERATION(3, SimpleThread, start),
    OPERATION(4, SimpleThread, getId),
    OPERATION(5, SimpleThread, run),
    OPERATION(6, SimpleThread, innerRun),
    OPERATION(0, LooperThread, getName),
    OPERATION(3, LooperThread, start),
    OPERATION(4, LooperThread, getId),
    OPERATION(5, LooperThread, run),
    OPERATION(6, LooperThread, innerRun),
    OPERATION(7, LooperThread, isRunning),

    OPERATION(0, BrainMain, getName),
    OPERATION(3, BrainMain, sendMessage),
    OPERATION(4, BrainMain, sendDelayedMessage),
    OVERLOAD(5, BrainMain, obtainMessage, sp<Message>(int, void*)),
    OVERLOAD(6, BrainMain, obtainMessage, sp<Message>(int, int, void*)),
    OVERLOAD(7, BrainMain, obtainMessage, sp<Message>(int, int, int, void*)),
    OVERLOAD(8, BrainMain, obtainMessage, sp<Message>(sp<RefBase>, int)),
    OVERLOAD(9, BrainMain, obtainMessage, sp<Message>(sp<RefBase>, int, int)),
    OVERLOAD(10, BrainMain, obtainMessage, sp<Message>(sp<RefBase>, int, int, int)),
    OPERATION(11, BrainMain, handleMessage),
};

TEST(BinaryInterface, OperationsAreWhereTheyWereAgreed) {
    for (const Operation& operation : OPERATIONS) {
        EXPECT_EQ(operation.slot, operation.agreed) << operation.name;
    }
}

template <typename Value>
Value valueAt(const void* object, size_t offset) {
    Value value;
    memcpy(&value, static_cast<const char*>(object) + offset, sizeof(value));
    return value;
}

TEST(BinaryInterface, CountAndPointerOfAnObject) {
    EXPECT_EQ(sizeof(RefBase), 16u);
    EXPECT_EQ(sizeof(sp<RefBase>), sizeof(RefBase*));
    const sp<BrainEvent> event(new BrainEvent);
    EXPECT_EQ(valueAt<BrainEvent*>(&event, 0), event.get());
    const sp<BrainEvent> second = event;
    EXPECT_EQ(valueAt<int32_t>(event.get(), 8), 2);
}

TEST(BinaryInterface, FieldsOfAMessage) {
    const sp<Message> message(new Message(nullptr, 4, nullptr));
    const auto offset = [&message](const auto& field) {
        return reinterpret_cast<uintptr_t>(&field) - reinterpret_cast<uintptr_t>(message.get());
    };
    EXPECT_EQ(offset(message->what), 12u);
    EXPECT_EQ(offset(message->arg1), 16u);
    EXPECT_EQ(offset(message->arg2), 20u);
    EXPECT_EQ(offset(message->data), 24u);
    EXPECT_EQ(offset(message->target), 32u);
    EXPECT_EQ(offset(message->object), 40u);
    EXPECT_EQ(offset(message->obj), 48u);
    EXPECT_EQ(offset(message->reserved), 56u);
    EXPECT_EQ(sizeof(Message), 64u);
}

TEST(BinaryInterface, PartsOfAHandler) {
    struct Deaf : Handler {
        using Handler::Handler;
        void handleMessage(sp<Message>) override {}
    };
    auto* const looper = reinterpret_cast<Looper*>(0x1000);
    const Deaf handler(looper);
    EXPECT_EQ(sizeof(Handler), 32u);
    EXPECT_EQ(valueAt<Looper*>(&handler, 8), looper);
    EXPECT_EQ(valueAt<int32_t>(&handler, 16 + 8), RefBase::INITIAL_STRONG_COUNT);
}

}  // namespace
