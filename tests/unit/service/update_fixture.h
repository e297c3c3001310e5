// SPDX-License-Identifier: GPL-2.0-or-later
// An update area with a seed, the user of its signatures and the host of its runs, all a test's own.
#pragma once

#include <foundation/string16.h>
#include <service/update/rollback_run.h>
#include <service/update/update_run.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace tfs::service::update {

using tasks::TaskIdentity;
using tests::Content;
using tests::Eventually;
using tests::TempFolder;
using types::AdditionalName;
using types::EventName;

inline constexpr char SeedSignature[] = "Test.Seed:0:*:5445535453454544\n";
inline constexpr char NewSignature[] = "Test.New:0:*:544553544e4557\n";

/// Takes what it is told to load, or doesn't.
class FakeUser final : public IBasesUser {
public:
    result_t Replace(const std::string& folder, const std::function<bool()>& cancelled, std::string& why) override {
        folders.push_back(folder);
        why = reason;
        if (waits)
            return Eventually(cancelled) ? ulk::eCancelled : ulk::eTimeout;
        return result;
    }
    std::vector<std::string> folders;
    result_t result = ulk::sOk;
    std::string reason;
    bool waits = false;
};

class FakeHost final : public tasks::IRunHost {
public:
    void OnRunBegun(const TaskIdentity&) override { m_begun = true; }
    void OnRunCounters(const TaskIdentity&, const ScanStatistic&, std::uint64_t) override {}
    void OnRunProgress(const TaskIdentity&, const tasks::RunProgress& told) override {
        percents.push_back(told.percent);
    }
    void OnRunCheckpoint(const TaskIdentity&, const std::string&, const ScanStatistic&, std::uint64_t) override {}
    void OnRunEnded(const TaskIdentity&, const tasks::RunOutcome& ended) override {
        EXPECT_EQ(ended.begun, m_begun.load());
        outcome = ended;
    }
    void PublishFinding(Event event) override { events.push_back(std::move(event)); }
    void PublishProgress(Event event) override { progress.push_back(std::move(event)); }

    std::vector<EventName::Type> Types() const {
        std::vector<EventName::Type> found;
        for (const Event& event : events)
            found.push_back(event.type);
        return found;
    }
    /// The text of a pair of the last event of that type.
    std::string Text(EventName::Type type, AdditionalName::Type name) const {
        for (auto event = events.rbegin(); event != events.rend(); ++event)
            if (ulk::types::string16_t text; event->type == type && ULK_SUCCEEDED(event->GetAdditionalData(name, text)))
                return ulk::text::ToUtf8Lossy(text);
        return "none";
    }

    std::vector<Event> events;
    std::vector<Event> progress;
    std::vector<std::uint32_t> percents;
    tasks::RunOutcome outcome;

private:
    std::atomic<bool> m_begun = false;
};

class UpdateFixture : public ::testing::Test {
protected:
    UpdateFixture() {
        for (const char* folder : {"bases", "seeds", "source"})
            std::filesystem::create_directory(m_folder.File(folder));
        m_folder.Write("seeds/seed.ndb", SeedSignature);
        m_config.programs.deadline = std::chrono::seconds(30);
    }
    void SetUp() override { Open(); }
    void Open() {
        m_area = std::make_unique<UpdateArea>(m_folder.File("bases/"), m_folder.File("seeds/"), m_config);
        std::string folder;
        std::string problem;
        ASSERT_EQ(m_area->Open(folder, problem), ulk::sOk) << problem;
        ASSERT_EQ(problem, "");
    }
    static UpdateSettings From(std::vector<std::string> sources) {
        UpdateSettings settings;
        settings.sourceType = types::UpdateSourceKind::Custom;
        settings.customSources = std::move(sources);
        settings.useOfficialWhenUnavailable = false;
        settings.connectionTimeout = 2;
        return settings;
    }
    static tasks::RunOrder Order(const UpdateSettings& settings = {}) {
        tasks::RunOrder order;
        order.task = {6, u"Update", u"Update", 42};
        order.initiator = tasks::Initiator::OfUser({1000, u"ann"});
        order.settings.Set(settings);
        return order;
    }
    /// Runs an update to its end; the host tells what became of it.
    tasks::RunEnd Update(const UpdateSettings& settings) {
        m_host = std::make_unique<FakeHost>();
        UpdateRunFactory(*m_area, m_user).MakeRun(Order(settings), *m_host)->Execute();
        return m_host->outcome.end;
    }
    tasks::RunEnd Rollback() {
        m_host = std::make_unique<FakeHost>();
        RollbackRunFactory(*m_area, m_user).MakeRun(Order(), *m_host)->Execute();
        return m_host->outcome.end;
    }
    std::string Source(const std::string& name = {}) const { return m_folder.File("source/" + name); }
    std::string Current(const std::string& name) const { return m_folder.File("bases/current/" + name); }
    /// Names in the folder of all sets.
    std::set<std::string> Sets() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.File("bases/sets")))
            names.insert(entry.path().filename());
        return names;
    }
    /// After a failure: told with its reason, and nothing has changed.
    void ExpectFailure(const std::string& reason, const std::string& what) const {
        const std::string told = m_host->Text(EventName::UpdateError, AdditionalName::Reason);
        EXPECT_EQ(m_host->outcome.end, tasks::RunEnd::Failed) << what;
        EXPECT_TRUE(m_host->outcome.begun) << what;
        EXPECT_NE(told.find(reason), std::string::npos) << what << ": " << told;
        EXPECT_EQ(m_host->outcome.error, told) << what;
        EXPECT_EQ(told.find_first_of("\x1b\n\r"), std::string::npos) << what;
        EXPECT_EQ(Sets(), std::set<std::string>{"1"}) << what;
        EXPECT_EQ(Content(Current("seed.ndb")), SeedSignature) << what;
        EXPECT_TRUE(m_user.folders.empty()) << what;
    }

    TempFolder m_folder;
    UpdateConfig m_config;
    std::unique_ptr<UpdateArea> m_area;
    FakeUser m_user;
    std::unique_ptr<FakeHost> m_host;
};

} // namespace tfs::service::update
