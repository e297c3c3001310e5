// SPDX-License-Identifier: GPL-2.0-or-later
#include "gui_fixture.h"

#include <gui/common/events_processor.h>

#include <cerrno>
#include <functional>
#include <numeric>
#include <optional>
#include <pthread.h>
#include <stdexcept>
#include <thread>

namespace tfs::gui {
namespace {

using test::WaitUntil;
using types::EventName;

Event NumberedEvent(std::int64_t id) {
    Event event;
    event.id = id;
    event.type = EventName::TaskCreated;
    return event;
}

/// What a model would do, seen from outside.
class Receiver {
public:
    result_t operator()(const Event& event) {
        std::unique_lock lock(m_mutex);
        m_standsAt = event.id;
        m_condition.wait(lock, [&] { return m_heldAt != event.id; });
        m_standsAt.reset();
        m_ids.push_back(event.id);
        if (m_throw)
            m_throw();
        return ulk::sOk;
    }
    std::vector<std::int64_t> Ids() {
        const std::lock_guard lock(m_mutex);
        return m_ids;
    }
    /// The handler stays in the event of this number; a hold at another event is let go.
    void HoldAt(std::optional<std::int64_t> id) {
        {
            const std::lock_guard lock(m_mutex);
            m_heldAt = id;
        }
        m_condition.notify_all();
    }
    bool StandsAt(std::int64_t id) {
        const std::lock_guard lock(m_mutex);
        return m_standsAt == id;
    }
    void Throw(std::function<void()> thrower) {
        const std::lock_guard lock(m_mutex);
        m_throw = std::move(thrower);
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    std::optional<std::int64_t> m_heldAt;
    std::optional<std::int64_t> m_standsAt;
    std::function<void()> m_throw;
    std::vector<std::int64_t> m_ids;
};

/// While it lives no thread can be made: its stack would fill the address space.
class NoThreads {
public:
    NoThreads() {
        EXPECT_EQ(::pthread_getattr_default_np(&m_attributes), 0);
        pthread_attr_t huge;
        EXPECT_EQ(::pthread_getattr_default_np(&huge), 0);
        EXPECT_EQ(::pthread_attr_setstacksize(&huge, std::size_t{1} << 48), 0);
        EXPECT_EQ(::pthread_setattr_default_np(&huge), 0);
        ::pthread_attr_destroy(&huge);
    }
    ~NoThreads() {
        ::pthread_setattr_default_np(&m_attributes);
        ::pthread_attr_destroy(&m_attributes);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t m_attributes;
};

class EventSubscriptionTest : public test::GuiTest {
protected:
    EventSubscriptionTest() { EXPECT_EQ(ulk::CreateInstance(m_app.local.Get(), m_processor.Ref()), ulk::sOk); }
    ~EventSubscriptionTest() override {
        m_receiver.HoldAt(std::nullopt);
        m_processor->Unsubscribe();
    }

    /// Pushes events of the numbers [from, to).
    void Push(std::int64_t from, std::int64_t to) {
        for (std::int64_t id = from; id < to; ++id)
            EXPECT_TRUE(m_app.subscriber->Push(NumberedEvent(id)));
    }
    /// True where nothing but the test holds the processor.
    bool IsProcessorReleased() {
        m_processor->AddRef();
        return m_processor->Release() == 1;
    }

    result_t Subscribe() {
        return m_processor->Subscribe(m_app.remote.Get(), u"Test", EventFilter(),
                                      [this](const Event& event) { return m_receiver(event); });
    }

    Receiver m_receiver;
    ulk::Ptr<EventsProcessor> m_processor;
};

std::vector<std::int64_t> Numbers(std::int64_t from, std::int64_t to) {
    std::vector<std::int64_t> numbers(static_cast<std::size_t>(to - from));
    std::iota(numbers.begin(), numbers.end(), from);
    return numbers;
}

TEST_F(EventSubscriptionTest, whatComesDuringABatchIsTheNextBatch) {
    ASSERT_EQ(Subscribe(), ulk::sOk);
    EXPECT_EQ(m_app.subscriber->ReceiverName(), "Test");
    m_receiver.HoldAt(0);
    Push(0, 1);
    ASSERT_TRUE(WaitUntil([this] { return m_receiver.StandsAt(0); }));
    Push(1, 501);
    m_receiver.HoldAt(std::nullopt);
    ASSERT_TRUE(WaitUntil([this] { return m_receiver.Ids().size() == 501; }));
    EXPECT_EQ(m_receiver.Ids(), Numbers(0, 501));
    EXPECT_EQ(m_app.tracer->Count(": got 500 events"), 1u);
}

TEST_F(EventSubscriptionTest, aHandlerThatThrowsLosesItsEventAlone) {
    ASSERT_EQ(Subscribe(), ulk::sOk);
    PushAndWait(NumberedEvent(1));
    const std::string number = std::to_string(int{EventName::TaskCreated});
    std::string signature;
    for (const std::string& line : m_app.tracer->Lines(800)) {
        if (line.find("EventsProcessor::OnEvent") != std::string::npos && line.ends_with(number))
            signature = line.substr(0, line.size() - number.size());
    }
    ASSERT_FALSE(signature.empty()) << "the signature and the event's number";

    m_receiver.Throw([] { throw std::runtime_error("handler gave up"); });
    PushAndWait(NumberedEvent(2));
    EXPECT_EQ(m_app.tracer->Lines(300), (std::vector<std::string>{signature + "handler gave up"}));
    m_app.tracer->Clear();
    m_receiver.Throw([] { throw 1; });
    PushAndWait(NumberedEvent(3));
    EXPECT_EQ(m_app.tracer->Lines(300), (std::vector<std::string>{signature + ": unspecified error"}));
    m_app.tracer->Clear();
    m_receiver.Throw([] { ThrowNoConnection(); });
    EXPECT_EQ(m_processor->OnEvent(NumberedEvent(4)), ulk::eUnspecified);
    EXPECT_EQ(m_app.tracer->Lines(300),
              (std::vector<std::string>{signature + "RuntimeError", signature + ": No connection to product"}));
    EXPECT_EQ(m_receiver.Ids(), Numbers(1, 5));
}

TEST_F(EventSubscriptionTest, unsubscribingWhileEventsComeLeavesNoHandlerRunning) {
    for (int round = 0; round < 50; ++round) {
        ASSERT_EQ(Subscribe(), ulk::sOk);
        std::atomic<bool> stop{false};
        std::thread transport([&] {
            for (std::int64_t id = 0; !stop; ++id)
                m_app.subscriber->Push(NumberedEvent(id));
        });
        ASSERT_TRUE(WaitUntil([this] { return !m_receiver.Ids().empty(); }));
        EXPECT_EQ(m_processor->Unsubscribe(), ulk::sOk);
        const std::size_t handled = m_receiver.Ids().size();
        stop = true;
        transport.join();
        EXPECT_EQ(m_receiver.Ids().size(), handled);
        EXPECT_FALSE(m_app.subscriber->IsSubscribed());
    }
}

TEST_F(EventSubscriptionTest, unsubscribingFinishesTheBatchUnderWayAndDropsTheQueue) {
    ASSERT_EQ(Subscribe(), ulk::sOk);
    m_receiver.HoldAt(0);
    Push(0, 1);
    ASSERT_TRUE(WaitUntil([this] { return m_receiver.StandsAt(0); }));
    Push(1, 10);
    m_receiver.HoldAt(1);
    ASSERT_TRUE(WaitUntil([this] { return m_receiver.StandsAt(1); }));
    EXPECT_EQ(m_app.tracer->Count(": got 9 events"), 1u) << "a batch of more than the event that is held";
    Push(10, 20);
    std::thread unsubscribing([this] { m_processor->Unsubscribe(); });
    EXPECT_TRUE(WaitUntil([this] { return m_app.tracer->Count("Unsubscribe(): joining the thread") == 1; }));
    EXPECT_FALSE(m_app.subscriber->IsSubscribed()) << "the service stops before the thread does";
    m_receiver.HoldAt(std::nullopt);
    unsubscribing.join();
    EXPECT_EQ(m_receiver.Ids(), Numbers(0, 10));
    EXPECT_EQ(m_app.tracer->Count("RunThread(): finished"), 1u);

    ASSERT_EQ(Subscribe(), ulk::sOk);
    PushAndWait(NumberedEvent(10));
    EXPECT_EQ(m_receiver.Ids(), Numbers(0, 11)) << "nothing of the first subscription comes to the second";
}

TEST_F(EventSubscriptionTest, aFailedSubscriptionLeavesNothingBehind) {
    m_app.subscriber->subscribeResult = ulk::eAccessDenied;
    EXPECT_EQ(Subscribe(), ulk::eAccessDenied);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot subscribe"), 1u);
    EXPECT_TRUE(IsProcessorReleased());
    m_app.remote->Remove(IEventSubscriber::Iid);
    EXPECT_EQ(Subscribe(), ulk::eNoInterface);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get IEventSubscriber"), 1u);
    EXPECT_TRUE(IsProcessorReleased());
    EXPECT_EQ(m_app.tracer->Count("RunThread(): start"), 0u);
    EXPECT_EQ(m_processor->Unsubscribe(), ulk::sOk) << "nothing to undo";
}

TEST_F(EventSubscriptionTest, withoutAThreadTheServiceIsToldToStop) {
    m_app.subscriber->pushedAtOnce = {NumberedEvent(1)};
    {
        const NoThreads noThreads;
        EXPECT_EQ(Subscribe(), ulk::ResultFromErrno(EAGAIN));
    }
    EXPECT_EQ(m_app.tracer->Count(300,
                                  "(m_thread.Create(&EventSubscription::RunThread, this)),(ULK_SUCCEEDED(_result)) "
                                  "failed: result = "),
              1u);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot create event processing thread"), 1u);
    EXPECT_FALSE(m_app.subscriber->IsSubscribed());
    EXPECT_TRUE(IsProcessorReleased());

    m_app.subscriber->pushedAtOnce.clear();
    ASSERT_EQ(Subscribe(), ulk::sOk);
    PushAndWait(NumberedEvent(2));
    EXPECT_EQ(m_receiver.Ids(), Numbers(2, 3));
}

TEST_F(EventSubscriptionTest, aServiceThatIsGoneDoesNotStopUnsubscribing) {
    ASSERT_EQ(Subscribe(), ulk::sOk);
    EXPECT_EQ(Subscribe(), ulk::sOk) << "a second one does nothing";
    m_app.subscriber->unsubscribeResult = ulk::eNotReady;
    EXPECT_EQ(m_processor->Unsubscribe(), ulk::sOk);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot unsubscribe"), 1u);
    EXPECT_EQ(m_app.tracer->Count("RunThread(): finished"), 1u);
    EXPECT_TRUE(IsProcessorReleased());

    Push(1, 2); // the service hasn't heard of it
    m_app.subscriber->unsubscribeResult = ulk::sOk;
    ASSERT_EQ(Subscribe(), ulk::sOk);
    PushAndWait(NumberedEvent(2));
    EXPECT_EQ(m_receiver.Ids(), Numbers(2, 3));
    EXPECT_EQ(m_processor->Unsubscribe(), ulk::sOk);
    EXPECT_TRUE(IsProcessorReleased());
}

} // namespace
} // namespace tfs::gui
