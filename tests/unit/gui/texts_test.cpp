// SPDX-License-Identifier: GPL-2.0-or-later
// Words and classes that models derive from numbers.
#include "gui_fixture.h"

#include <foundation/datetime.h>
#include <gui/app_info/current_danger_info.h>
#include <gui/app_info/task_popups.h>
#include <gui/common/elapsed_time.h>
#include <gui/protection_info/databases_state.h>
#include <gui/task_manager/task_event_fields.h>
#include <gui/task_manager/task_names.h>
#include <gui/tools/interceptor_link.h>

namespace tfs::gui {
namespace {

constexpr std::int64_t Second = ulk::datetime::kTicksPerSecond;
constexpr std::int64_t Minute = 60 * Second;
constexpr std::int64_t Hour = 60 * Minute;
constexpr std::int64_t Day = 24 * Hour;

TEST(ElapsedTime, isTruncatedToWholeUnits) {
    const struct {
        std::int64_t age;
        const char* text;
    } rows[] = {
        {-5 * Day, "less than a minute ago"},
        {0, "less than a minute ago"},
        {Minute - 1, "less than a minute ago"},
        {Minute, "1 minute ago"},
        {2 * Minute, "2 minutes ago"},
        {Hour - 1, "59 minutes ago"},
        {Hour, "1 hour ago"},
        {2 * Hour - 1, "1 hour ago"},
        {Day - 1, "23 hours ago"},
        {Day, "1 day ago"},
        {2 * Day - 1, "1 day ago"},
        {400 * Day, "400 days ago"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ElapsedTimeText(row.age).toStdString(), row.text) << row.age;
    EXPECT_EQ(TimeAgoText(INT64_MIN).toStdString(), "less than a minute ago");
}

TEST(DatabasesState, changesAtThreeAndEightWholeDays) {
    const std::int64_t now = ulk::datetime::kUnixEpochTicks + 20000 * Day;
    AppInfo info;
    info.avBasesDate = now - 100 * Day;
    EXPECT_EQ(ClassifyDatabases(info, now), DatabasesState::NotLoaded);
    info.avBasesLoaded = true;
    const struct {
        std::int64_t age;
        DatabasesState state;
    } rows[] = {{0, DatabasesState::UpToDate},
                {3 * Day - Hour, DatabasesState::UpToDate},
                {3 * Day, DatabasesState::OutOfDate},
                {8 * Day - 1, DatabasesState::OutOfDate},
                {8 * Day, DatabasesState::TotallyOutOfDate},
                {-30 * Day, DatabasesState::UpToDate}};
    for (const auto& row : rows) {
        info.avBasesDate = now - row.age;
        EXPECT_EQ(ClassifyDatabases(info, now), row.state) << row.age;
    }
    info.avBasesDate = -1;
    EXPECT_THROW(ClassifyDatabases(info, now), ulk::datetime::TimeSystemError);
}

TEST(CurrentDangerInfo, countsTheIssuesOfTheLevelInForceAlone) {
    CurrentDangerInfo danger;
    EXPECT_EQ(danger.Sentence().toStdString(), "Your device is protected well");
    danger.Add(Danger::OK);
    danger.Add(Danger::OK);
    EXPECT_EQ(danger.Sentence().toStdString(), "Your device is protected well\n2 recommendations");
    danger.Add(Danger::Warning);
    danger.Add(Danger::OK);
    EXPECT_EQ(danger.Level(), Danger::Warning);
    EXPECT_EQ(danger.Sentence().toStdString(), "Protection of your device is reduced\n1 warning");
    danger.Add(Danger::Critical);
    danger.Add(Danger::Warning);
    EXPECT_EQ(danger.Level(), Danger::Critical);
    EXPECT_EQ(danger.Sentence().toStdString(), "Your device is in danger\n1 threat");
    danger.Reset();
    EXPECT_EQ(danger.Count(Danger::Critical), 0u);
    EXPECT_EQ(danger.Level(), Danger::OK);
}

TEST(TaskNames, customScansAreNamedAfterTheirPaths) {
    test::FakeApplication app;
    core::TaskInfo task = test::MakeTask(100, u"Temporary_100", task_type::ODS);
    EXPECT_EQ(ShownTaskName(task).toStdString(), "Temporary_100") << "not a temporary one";
    task.isTemporary = true;
    EXPECT_EQ(ShownTaskName(task).toStdString(), "Custom scan");
    EXPECT_EQ(app.tracer->Count(300, "Invalid settings type of temporary ODS task!"), 1u);
    const auto nameWithAreas = [&task](std::vector<std::string> areas) {
        task.settings.Set(ScanSettings{std::move(areas)});
        return ShownTaskName(task).toStdString();
    };
    EXPECT_EQ(nameWithAreas({}), "Custom scan");
    EXPECT_EQ(nameWithAreas({"/home/%s/\"x\""}), "Custom scan of /home/%s/\"x\"");
    EXPECT_EQ(nameWithAreas({"/a", "/b"}), "Custom scan of /a, ...");
    EXPECT_EQ(nameWithAreas({"/bad\xff"}), "Custom scan of /bad?");
    const QString fifty = QString(50, QLatin1Char('x'));
    EXPECT_EQ(ShortenedPath(fifty.toStdString()), fifty);
    const QString shortened = ShortenedPath("/beginning" + std::string(500, 'x') + "/end");
    EXPECT_EQ(shortened.size(), 50);
    EXPECT_TRUE(shortened.startsWith(QLatin1String("/beginning")));
    EXPECT_TRUE(shortened.endsWith(QLatin1String("/end")));
    // Characters of two units, wherever the cut falls: none is cut in half.
    for (int offset = 0; offset < 2; ++offset) {
        std::string path(static_cast<std::size_t>(offset), 'x');
        for (int i = 0; i < 60; ++i)
            path += "\xf0\x9f\x98\x80";
        const QString cut = ShortenedPath(path + std::string(static_cast<std::size_t>(offset), 'x'));
        EXPECT_LE(cut.size(), 50);
        EXPECT_TRUE(cut.toUcs4().indexOf(0xFFFD) == -1) << offset;
    }
}

TEST(TaskNames, displayNameOfTheConsoleWinsForOtherTasks) {
    core::TaskInfo task = test::MakeTask(50, u"Group_Task", task_type::ODS);
    EXPECT_EQ(ShownTaskName(task).toStdString(), "Group_Task");
    task.displayName = u"Nightly scan";
    EXPECT_EQ(ShownTaskName(task).toStdString(), "Nightly scan");
    task.taskId = static_cast<std::uint64_t>(FixedTaskId::FullScan);
    EXPECT_EQ(ShownTaskName(task).toStdString(), "Scan my computer");
}

TEST(TaskNames, everyFixedTaskHasItsNameInASentence) {
    const std::pair<std::uint64_t, std::pair<const char16_t*, const char*>> rows[] = {
        {1, {task_type::OAS, "File Threat Protection"}},
        {2, {task_type::ODS, "Scan my computer"}},
        {3, {task_type::ODS, "Custom scan"}},
        {4, {task_type::BootScan, "Boot sector scan"}},
        {5, {task_type::MemoryScan, "Memory scan"}},
        {6, {task_type::Update, "Update"}},
        {7, {task_type::Rollback, "Update rollback"}},
    };
    for (const auto& [id, expected] : rows) {
        const core::TaskInfo task = test::MakeTask(id, u"Its_Own_Name", expected.first);
        EXPECT_EQ(LocalizedTaskName(task).toStdString(), expected.second) << id;
    }
}

TEST(TaskEventFields, badFieldsCountAsMissing) {
    using types::AdditionalName;
    using types::TaskState;
    const auto stateOf = [](ulk::types::variant_t value) {
        Event event;
        event.Add(AdditionalName::TaskState, std::move(value));
        return TaskStateOf(event);
    };
    EXPECT_EQ(TaskStateOf(Event()), std::nullopt);
    EXPECT_EQ(stateOf(std::uint32_t{6}), TaskState::Stopped);
    EXPECT_EQ(stateOf("Started"), TaskState::Started);
    EXPECT_EQ(stateOf(std::int32_t{8}), std::nullopt);
    EXPECT_EQ(stateOf(std::int32_t{-1}), std::nullopt);
    EXPECT_EQ(stateOf("Nonsense"), std::nullopt);
    const auto idOf = [](ulk::types::variant_t value) {
        Event event;
        event.Add(AdditionalName::TaskId, std::move(value));
        return TaskIdOf(event);
    };
    EXPECT_EQ(idOf(std::uint64_t{7}), 7u);
    EXPECT_EQ(idOf("12"), 12u);
    EXPECT_EQ(idOf("12x"), std::nullopt);
    EXPECT_EQ(idOf(std::int64_t{-1}), std::nullopt);
    Event progress;
    progress.Add(AdditionalName::ODSProgress, std::int32_t{250});
    EXPECT_EQ(ProgressOf(progress, AdditionalName::ODSProgress), std::uint8_t{100});
}

TEST(TaskPopups, reasonsHaveTheirTexts) {
    const char* const texts[] = {"file interceptor configuring error", "file interceptor driver error",
                                 "network services error", "network interceptor driver error", "internal issue"};
    for (std::int64_t reason = 0; reason < 5; ++reason)
        EXPECT_EQ(task_popups::NotStartedReason(reason).toStdString(), texts[reason]);
    EXPECT_EQ(task_popups::NotStartedReason(-1).toStdString(), texts[4]);
}

TEST(InterceptorLink, carriesLanguageVersionAndProduct) {
    EXPECT_TRUE(GetInterceptorLink("a&b=c").endsWith(QLatin1String("/?hl=en&version=10.1.4&pid=teslarm64&link=a&b=c")));
    EXPECT_TRUE(GetInterceptorLink("50%1%").endsWith(QLatin1String("&link=50%1%")));
}

} // namespace
} // namespace tfs::gui
