// SPDX-License-Identifier: GPL-2.0-or-later
#include <remote_actions/exceptions.h>
#include <remote_actions/set_app_settings.h>
#include <tests/unit/control/fake_settings.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/tfs_common/recording_tracer.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::remote_actions {
namespace {

using control::test::FakeSettings;
using settings::AppSettings;
using settings::ChangeItem;
using settings::SettingsChangeList;
using ulk::Ptr;

class Locator final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IServiceLocator> {
public:
    explicit Locator(ulk::IObject* object) : m_object(object) {}
    result_t GetInterface(ulk::iid_t iid, std::uint32_t, void** out) noexcept override {
        return m_object->QueryInterface(iid, out);
    }

private:
    const Ptr<ulk::IObject> m_object;
};

struct SettingsActionTest : testing::Test {
    CommandResult Run(std::vector<ChangeItem> items, const std::string& file = {}, bool acceptTsn = false) {
        SettingsChangeList list;
        list.typeNumber = 7; // whatever it was
        list.items = std::move(items);
        return MakeSetAppSettings(local.Get(), file, acceptTsn, std::move(list))->Exec(remote.Get());
    }
    /// The text of the exception that must come.
    template <class Failure>
    std::string Thrown(std::vector<ChangeItem> items, const std::string& file = {}) {
        try {
            Run(std::move(items), file);
        } catch (const Failure& failure) {
            return failure.Text();
        }
        ADD_FAILURE() << "no such exception";
        return {};
    }

    service::tests::TempFolder folder;
    Ptr<::test::RecordingTracer> tracer = Ptr<::test::RecordingTracer>::Adopt(new ::test::RecordingTracer);
    Ptr<FakeSettings> handler = Ptr<FakeSettings>::Adopt(new FakeSettings);
    Ptr<ulk::IServiceLocator> local = Ptr<ulk::IServiceLocator>::Adopt(new Locator(tracer.Get()));
    Ptr<ulk::IServiceLocator> remote = Ptr<ulk::IServiceLocator>::Adopt(new Locator(handler.Get()));
};

TEST_F(SettingsActionTest, SendsTheListUnderItsTypeAndTracesIt) {
    handler->messages = {{"NeedRestartTaskToApplyAppSetting2", {u"A", u"B"}}};
    const CommandResult result = Run({{"UseTSN", "Basic"}, {"TraceLevel", "None"}}, {}, true);
    EXPECT_EQ(result.code, ulk::sOk);
    EXPECT_EQ(result.message, "To apply setting 'A', restart task 'B'.");
    ASSERT_EQ(handler->asked.size(), 1u);
    EXPECT_EQ(handler->asked[0].typeNumber, AppSettings::TypeNumber);
    EXPECT_EQ(handler->asked[0].items, (std::vector<ChangeItem>{{"UseTSN", "Basic"}, {"TraceLevel", "None"}}));
    EXPECT_TRUE(handler->acceptedTsn);

    const auto lines = tracer->Lines();
    const auto indexOf = [&](const std::string& part) {
        return std::find_if(lines.begin(), lines.end(),
                            [&](const auto& line) { return line.find(part) != std::string::npos; }) -
               lines.begin();
    };
    EXPECT_LT(indexOf("SetFile"), indexOf("SetAcceptTsn"));
    EXPECT_LT(indexOf("SetAcceptTsn"), indexOf("SetSettings"));
    EXPECT_LT(indexOf("SetSettings"), indexOf("Exec"));
    EXPECT_LT(indexOf("Exec"), indexOf("800 UseTSN : Basic"));
    EXPECT_EQ(lines.back(), "800 Calling AppSettingsHandler::SetAppSettings:\n" + result.message);
}

TEST_F(SettingsActionTest, RefusalsAreToldByTheirExceptions) {
    handler->messages = {{"SetSettingsBlockedByPolicy1", {u"UseTSN"}}};
    const std::string text = "Setting 'UseTSN' cannot be changed: the policy does not allow it.";
    handler->setResult = static_cast<result_t>(0x2D280003); // no failure by its sign
    EXPECT_EQ(Thrown<InvalidSettingsException>({{"a", "b"}}), text);
    handler->setResult = static_cast<result_t>(0xAD280003u);
    EXPECT_EQ(Thrown<SettingsBlockedByPolicyException>({{"a", "b"}}), text);
    handler->setResult = static_cast<result_t>(0xAD280009u);
    EXPECT_EQ(Thrown<TsnNotAcceptedException>({{"a", "b"}}), text);
    handler->setResult = ulk::eAccessDenied;
    try {
        Run({{"a", "b"}});
        FAIL();
    } catch (const ActionInvalidResultException& failure) {
        EXPECT_EQ(failure.Result(), ulk::eAccessDenied);
        EXPECT_EQ(failure.Text(), "Unknown error 0x80000045.");
        EXPECT_STREQ(failure.what(), "ActionInvalidResultException");
    }
    // Every other failure is the caller's affair.
    for (const result_t result : {ulk::eTimeout, ulk::eNotReady, ulk::sFalse}) {
        handler->setResult = result;
        EXPECT_EQ(Run({{"a", "b"}}).code, result);
    }
}

TEST_F(SettingsActionTest, ATextThatCanNotBeBuiltIsEmpty) {
    const std::vector<settings::ValidationMessage> broken[] = {
        {{"NoSuchKeyInTheCatalogue", {}}},
        {{"SettingValueIsOutOfRangeInt3", {u"only one"}}},
        {{"UnknownSettings1", {u"one", u"too many"}}},
        {{"UnknownSettings1", {u"good"}}, {"NoSuchKeyInTheCatalogue", {}}},
    };
    for (const auto& messages : broken) {
        handler->messages = messages;
        EXPECT_EQ(Run({{"a", "b"}}).message, "") << messages[0].textKey;
    }
    handler->messages = {{"UnknownSettings1", {u"%1$s%n"}}, {"CannotParseSettings", {}}};
    EXPECT_EQ(Run({{"a", "b"}}).message, "Unknown setting '%1$s%n'.\nCould not parse provided settings");
}

TEST_F(SettingsActionTest, AnEmptyRequestIsRefusedUnlessItMayBeEmpty) {
    EXPECT_EQ(Thrown<InvalidSettingsException>({}), "Could not parse provided settings");
    EXPECT_TRUE(handler->asked.empty());
    SettingsChangeList list;
    list.allowEmpty = true;
    EXPECT_EQ(MakeSetAppSettings(local.Get(), {}, false, std::move(list))->Exec(remote.Get()).code, ulk::sOk);
    EXPECT_EQ(handler->asked.size(), 1u);
}

TEST_F(SettingsActionTest, AFileWithoutItemsIsAnEmptyRequestToo) {
    const std::string path = folder.Write("blank.ini", " \n\t\n[Section]\n");
    EXPECT_EQ(Thrown<InvalidSettingsException>({}, path), "Could not parse provided settings");
    EXPECT_TRUE(handler->asked.empty());
    SettingsChangeList list;
    list.allowEmpty = true;
    EXPECT_EQ(MakeSetAppSettings(local.Get(), path, false, std::move(list))->Exec(remote.Get()).code, ulk::sOk);
    ASSERT_EQ(handler->asked.size(), 1u);
    EXPECT_TRUE(handler->asked[0].allowEmpty);
}

TEST_F(SettingsActionTest, EachRunReadsTheFileAnew) {
    const std::string path = folder.Write("a.ini", "TraceLevel=None\n");
    const auto action = MakeSetAppSettings(local.Get(), path, false, {});
    action->Exec(remote.Get());
    action->Exec(remote.Get());
    folder.Write("a.ini", "UseSyslog=yes\n");
    action->Exec(remote.Get());
    ASSERT_EQ(handler->asked.size(), 3u);
    EXPECT_EQ(handler->asked[1].items, (std::vector<ChangeItem>{{"TraceLevel", "None"}}));
    EXPECT_EQ(handler->asked[2].items, (std::vector<ChangeItem>{{"UseSyslog", "yes"}}));
}

TEST_F(SettingsActionTest, AFileIsReadOrRefused) {
    const std::string path = folder.Write("a.ini", "TraceLevel=None\n[S]\nk = \"v\"\n");
    Run({{"of", "the list"}}, path);
    EXPECT_EQ(handler->asked.at(0).items, (std::vector<ChangeItem>{{"TraceLevel", "None"}, {"S.k", "v"}}));

    ASSERT_EQ(::mkfifo(folder.File("pipe").c_str(), 0600), 0);
    for (const char* name : {"missing", "pipe", "", "a.ini/b"})
        EXPECT_EQ(Thrown<InvalidSettingsException>({}, folder.File(name)), "The file does not exist.") << name;
    const std::string large = folder.Write("large.ini", std::string(5000, 'a'));
    EXPECT_EQ(Thrown<InvalidSettingsException>({}, large), "Cannot read settings from file '" + large + "'.");
    EXPECT_EQ(handler->asked.size(), 1u);
}

TEST_F(SettingsActionTest, WithoutTheInterfaceOrATracerItStillAnswersInItsOwnWay) {
    remote = Ptr<ulk::IServiceLocator>::Adopt(new Locator(tracer.Get()));
    try {
        Run({{"a", "b"}});
        FAIL();
    } catch (const ulk::CheckResultFailedException& failure) {
        EXPECT_EQ(failure.Code(), ulk::eNoInterface);
        EXPECT_EQ(failure.Message(), u"Cannot get interface IAppSettingsHandler");
    }
    remote = Ptr<ulk::IServiceLocator>::Adopt(new Locator(handler.Get()));
    local.Reset();
    EXPECT_EQ(Run({{"a", "b"}}).code, ulk::sOk);
}

} // namespace
} // namespace tfs::remote_actions
