// SPDX-License-Identifier: GPL-2.0-or-later
#include "gui_fixture.h"

#include <gui/common/events_processor.h>

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
        m_condition.wait(lock, [this] { return !m_held; });
        m_ids.push_back(event.id);
        if (m_throws)
            throw std::runtime_error("handler gave up");
        return ulk::sOk;
    }
    std::vector<std::int64_t> Ids() {
        const std::lock_guard lock(m_mutex);
        return m_ids;
    }
    void Hold(bool held) {
        {
            const std::lock_guard lock(m_mutex);
            m_held = held;
        }
        m_condition.notify_all();
    }
    void Throw() {
        const std::lock_guard lock(m_mutex);
        m_throws = true;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_held = false;
    bool m_throws = false;
    std::vector<std::int64_t> m_ids;
};

class EventSubscriptionTest : public test::GuiTest {
protected:
    EventSubscriptionTest() { EXPECT_EQ(ulk::CreateInstance(m_app.local.Get(), m_processor.Ref()), ulk::sOk); }
    ~EventSubscriptionTest() override {
        m_receiver.Hold(false);
        m_processor->Unsubscribe();
    }

    result_t Subscribe() {
        return m_processor->Subscribe(m_app.remote.Get(), u"Test", EventFilter(),
                                      [this](const Event& event) { return m_receiver(event); });
    }

    Receiver m_receiver;
    ulk::Ptr<EventsProcessor> m_processor;
};

TEST_F(EventSubscriptionTest, whatComesDuringABatchIsTheNextBatch) {
    ASSERT_EQ(Subscribe(), ulk::sOk);
    EXPECT_EQ(m_app.subscriber->ReceiverName(), "Test");
    m_receiver.Hold(true);
    std::vector<std::int64_t> sent;
    m_app.subscriber->Push(NumberedEvent(0));
    sent.push_back(0);
    ASSERT_TRUE(WaitUntil([this] { return m_app.tracer->Count(": got 1 events") == 1; }));
    for (std::int64_t id = 1; id <= 500; ++id) {
        ASSERT_TRUE(m_app.subscriber->Push(NumberedEvent(id)));
        sent.push_back(id);
    }
    m_receiver.Hold(false);
    ASSERT_TRUE(WaitUntil([&] { return m_receiver.Ids().size() == sent.size(); }));
    EXPECT_EQ(m_receiver.Ids(), sent);
    EXPECT_EQ(m_app.tracer->Count(": got 500 events"), 1u);
}

TEST_F(EventSubscriptionTest, aHandlerThatThrowsLosesItsEventAlone) {
    m_receiver.Throw();
    ASSERT_EQ(Subscribe(), ulk::sOk);
    PushAndWait(NumberedEvent(1));
    PushAndWait(NumberedEvent(2));
    EXPECT_EQ(m_receiver.Ids(), (std::vector<std::int64_t>{1, 2}));
    EXPECT_EQ(m_app.tracer->Count(300, "handler gave up"), 2u);
    EXPECT_EQ(m_processor->OnEvent(NumberedEvent(3)), ulk::eUnspecified);
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

TEST_F(EventSubscriptionTest, aBatchUnderWayIsDroppedByUnsubscribe) {
    ASSERT_EQ(Subscribe(), ulk::sOk);
    m_receiver.Hold(true);
    for (std::int64_t id = 0; id < 100; ++id)
        m_app.subscriber->Push(NumberedEvent(id));
    std::thread unsubscribing([this] { m_processor->Unsubscribe(); });
    ASSERT_TRUE(WaitUntil([this] { return !m_app.subscriber->IsSubscribed(); }));
    m_receiver.Hold(false);
    unsubscribing.join();
    EXPECT_LE(m_receiver.Ids().size(), 100u);
    const std::size_t handled = m_receiver.Ids().size();
    EXPECT_EQ(m_app.tracer->Count("RunThread(): finished"), 1u);
    EXPECT_EQ(m_receiver.Ids().size(), handled);
}

TEST_F(EventSubscriptionTest, aFailedSubscriptionLeavesNoThread) {
    m_app.subscriber->subscribeResult = ulk::eAccessDenied;
    EXPECT_EQ(Subscribe(), ulk::eAccessDenied);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot subscribe"), 1u);
    m_app.remote->Remove(IEventSubscriber::Iid);
    EXPECT_EQ(Subscribe(), ulk::eNoInterface);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get IEventSubscriber"), 1u);
    EXPECT_EQ(m_app.tracer->Count("RunThread(): start"), 0u);
    EXPECT_EQ(m_processor->Unsubscribe(), ulk::sOk) << "nothing to undo";
}

TEST_F(EventSubscriptionTest, aServiceThatIsGoneDoesNotStopUnsubscribing) {
    ASSERT_EQ(Subscribe(), ulk::sOk);
    EXPECT_EQ(Subscribe(), ulk::sOk) << "a second one does nothing";
    m_app.subscriber->unsubscribeResult = ulk::eNotReady;
    EXPECT_EQ(m_processor->Unsubscribe(), ulk::sOk);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot unsubscribe"), 1u);
    EXPECT_EQ(m_app.tracer->Count("RunThread(): finished"), 1u);
}

TEST_F(EventSubscriptionTest, theWholeChainIsReleased) {
    ASSERT_EQ(Subscribe(), ulk::sOk);
    EventsProcessor* const raw = m_processor.Get();
    m_processor->Unsubscribe();
    EXPECT_EQ(raw->AddRef(), 2u) << "only the test holds it now";
    raw->Release();
}

} // namespace
} // namespace tfs::gui
