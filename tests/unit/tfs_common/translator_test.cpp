// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/tfs_common/recording_tracer.h>
#include <tests/unit/tfs_common/test_folder.h>
#include <tests/unit/tfs_common/unprivileged.h>
#include <tfs_common/translator.h>

#include <clocale>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sys/stat.h>
#include <vector>

namespace {

using namespace tfs::localization;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class TranslatorTest : public ::testing::Test {
protected:
    void Put(const std::string& name, const std::string& json) { test::WriteFile(m_folder / name, json); }
    void Load(const char* locale, bool keepUtf8 = true) { m_translator.Load(m_tracer.Get(), locale, keepUtf8); }

    /// All texts, to see that nothing has changed.
    std::map<std::uint32_t, std::vector<std::string>> Texts() {
        std::map<std::uint32_t, std::vector<std::string>> texts;
        LocalizationCatalogue copy = m_translator.Catalogue();
        copy.ForEach([&](const LocalizationEntry& entry) { texts[entry.id] = entry.forms; });
        return texts;
    }
    void ExpectBuiltInEnglish() {
        EXPECT_EQ(Texts(), m_english);
        EXPECT_EQ(m_translator.Language(), "en");
        EXPECT_EQ(m_translator.Territory(), "en_us");
    }
    const std::vector<std::string>& Forms(std::uint32_t id) { return m_translator.Catalogue().Find(id)->forms; }

    test::Folder m_folder;
    ulk::Ptr<test::RecordingTracer> m_tracer = ulk::Ptr<test::RecordingTracer>::Adopt(new test::RecordingTracer());
    Translator m_translator{m_folder.Path()};
    const std::map<std::uint32_t, std::vector<std::string>> m_english = Texts();
};

TEST_F(TranslatorTest, NoFileLeavesEnglishAndSaysSo) {
    Load("en_US.UTF-8");
    EXPECT_THAT(m_tracer->Lines(), ElementsAre("800 Loading localization resources from: " + (m_folder / "en_US.loc"),
                                               "800 " + (m_folder / "en_US.loc") + " doesn't exist",
                                               "800 Loading localization resources from: " + (m_folder / "en.loc"),
                                               "800 " + (m_folder / "en.loc") + " doesn't exist",
                                               "300 Localization resources were not loaded (en, en_US)"));
    ExpectBuiltInEnglish();
}

TEST_F(TranslatorTest, MalformedNamesAreSilent) {
    Put("en_us.loc", R"({"GuiSysTrayExit":"x"})");
    for (const char* name : {"en_us", "EN_US", "C", ""})
        Load(name);
    Load(nullptr);
    EXPECT_THAT(m_tracer->Lines(), IsEmpty());
    ExpectBuiltInEnglish();
}

TEST_F(TranslatorTest, UnknownLanguageOpensNoFile) {
    Put("pt_BR.loc", R"({"GuiSysTrayExit":"Sair"})");
    Load("pt_BR.UTF-8");
    EXPECT_THAT(m_tracer->Lines(), ElementsAre("300 tfs_common/translator:244(pluralFormsAmount > 0),(bool) failed: "
                                               "result = falseUnknown localization language: pt"));
    ExpectBuiltInEnglish();
}

TEST_F(TranslatorTest, TerritoryWinsOverLanguageAndIsNotMerged) {
    Put("fr_FR.loc", R"({"GuiSysTrayExit":"Quitter"})");
    Put("fr.loc", R"({"GuiSysTrayExit":"no","GuiTaskListStopTask":"no"})");
    Load("fr_FR.UTF-8");
    EXPECT_EQ(m_translator.GetString(entry::GuiSysTrayExit), "Quitter");
    EXPECT_EQ(m_translator.GetString(entry::GuiTaskListStopTask), "Stop");
    EXPECT_EQ(m_translator.Language(), "fr");
    EXPECT_EQ(m_translator.Territory(), "fr_fr");
    EXPECT_EQ(m_translator.GetPluralFormIndex(0), 0u);
    EXPECT_EQ(m_translator.GetPluralFormIndex(2), 1u);
}

TEST_F(TranslatorTest, BadTerritoryFileFallsBackToLanguage) {
    Put("de_DE.loc", "{ not json");
    Put("de.loc", R"({"GuiSysTrayExit":"Beenden"})");
    Load("de_DE");
    EXPECT_TRUE(m_tracer->Has("300 Cannot load localization resources: "));
    EXPECT_EQ(m_translator.GetString(entry::GuiSysTrayExit), "Beenden");
    EXPECT_EQ(m_translator.Territory(), "de_de");
}

TEST_F(TranslatorTest, ChineseUsesOneFormForEveryCount) {
    Put("zh-hans.loc", R"({"GuiDaysAgo":["%d \u5929\u524d"]})");
    Load("zh_CN.UTF-8");
    EXPECT_TRUE(m_tracer->Has((m_folder / "zh_CN.loc") + " doesn't exist"));
    EXPECT_EQ(m_translator.Language(), "zh-hans");
    for (const std::int64_t count : {0, 1, 5})
        EXPECT_EQ(m_translator.GetString(entry::GuiDaysAgo, m_translator.GetPluralFormIndex(count)), "%d 天前");
}

TEST_F(TranslatorTest, MissingPluralKeysFitTheLanguage) {
    Put("ru.loc", R"({"GuiSysTrayExit":"Выход"})");
    Load("ru_RU.UTF-8");
    EXPECT_TRUE(m_tracer->Has("800 Localization entry not found: GuiDaysAgo"));
    EXPECT_THAT(Forms(entry::GuiDaysAgo), ElementsAre("%d day ago", "%d days ago", "%d day ago"));
    EXPECT_EQ(m_translator.GetString(entry::GuiDaysAgo, m_translator.GetPluralFormIndex(5)), "%d day ago");

    Put("ja.loc", "{}");
    Translator japanese(m_folder.Path());
    japanese.Load(m_tracer.Get(), "ja_JP", true);
    EXPECT_THAT(japanese.Catalogue().Find(entry::GuiDaysAgo)->forms, ElementsAre("%d day ago"));
    EXPECT_EQ(japanese.GetString(entry::GuiSysTrayExit), "Exit");
}

TEST_F(TranslatorTest, WrongShapesKeepTheEntry) {
    Put("ru.loc", R"({"GuiDaysAgo":"plain","GuiHoursAgo":["1","2"],"GuiMinutesAgo":["1","2","3","4"],
        "GuiSysTrayExit":["array"],"GuiMainErrorsCount":[["a"],["b"],["c"]],
        "GuiMainWarningsCount":{"one":"a","few":"b"},"GuiTaskListStopTask":{"a":"b"},
        "GuiMainRecomendationsCount":["\u0430","\u0431","\u0432"]})");
    Load("ru_RU");
    for (const char* key : {"GuiDaysAgo", "GuiHoursAgo", "GuiMinutesAgo", "GuiSysTrayExit", "GuiMainErrorsCount",
                            "GuiMainWarningsCount", "GuiTaskListStopTask"})
        EXPECT_TRUE(m_tracer->Has(std::string("800 Entry is not of valid plural form: ") + key)) << key;
    EXPECT_FALSE(m_tracer->Has("plural form: GuiMainRecomendationsCount"));
    EXPECT_THAT(Forms(entry::GuiDaysAgo), ElementsAre("%d day ago", "%d days ago", "%d day ago"));
    EXPECT_THAT(Forms(entry::GuiMainErrorsCount), ElementsAre("%d threat", "%d threats", "%d threat"));
    EXPECT_EQ(m_translator.GetString(entry::GuiSysTrayExit), "Exit");
    EXPECT_THAT(Forms(entry::GuiMainRecomendationsCount), ElementsAre("а", "б", "в"));

    // Of an object only the number and the order of its members count.
    Put("ru.loc", R"({"GuiMainWarningsCount":{"many":"a","one":"b","few":"c"}})");
    Load("ru_RU");
    EXPECT_THAT(Forms(entry::GuiMainWarningsCount), ElementsAre("a", "b", "c"));

    // A longer list than the language's is left alone here, unlike where the key is missing.
    Put("ja.loc", R"({"GuiDaysAgo":"plain"})");
    Translator japanese(m_folder.Path());
    japanese.Load(m_tracer.Get(), "ja_JP", true);
    EXPECT_THAT(japanese.Catalogue().Find(entry::GuiDaysAgo)->forms, ElementsAre("%d day ago", "%d days ago"));
    EXPECT_EQ(japanese.GetString(entry::GuiDaysAgo, japanese.GetPluralFormIndex(9)), "%d day ago");
}

TEST_F(TranslatorTest, ValuesThatAreNoStringsArriveAsText) {
    Put("en.loc",
        R"({"GuiSysTrayExit":12.5,"GuiTaskListStopTask":true,"GuiTaskListStartTask":null,"Unknown.Key":"x"})");
    Load("en_GB");
    EXPECT_EQ(m_translator.GetString(entry::GuiSysTrayExit), "12.5");
    EXPECT_EQ(m_translator.GetString(entry::GuiTaskListStopTask), "true");
    EXPECT_EQ(m_translator.GetString(entry::GuiTaskListStartTask), "null");
}

TEST_F(TranslatorTest, BracketsInATextAreNoNesting) {
    const std::string brackets(1000, '[');
    Put("en.loc", R"({"GuiSysTrayExit":"\")" + brackets + R"(\\","GuiTaskListStopTask":"{"})");
    Load("en_GB");
    EXPECT_EQ(m_translator.GetString(entry::GuiSysTrayExit), "\"" + brackets + "\\");
    EXPECT_EQ(m_translator.GetString(entry::GuiTaskListStopTask), "{");
}

TEST_F(TranslatorTest, BadFilesChangeNothing) {
    std::string lastLine = "{\n";
    for (const auto& [id, forms] : m_english)
        lastLine += "\"" + std::string(m_translator.Catalogue().Find(id)->key) + "\": \"changed\",\n";
    lastLine += "\"GuiSysTrayExit\": }\n";
    const std::string deep = std::string(1000000, '[');
    for (const std::string& bad :
         {lastLine, R"({"a":)" + deep, R"({"a":"\\\\","b":)" + deep, std::string(), std::string("\0\0\0", 3),
          std::string("[1,2"), std::string("{\"GuiSysTrayExit\":\"x\"} trailing"),
          std::string("{\"GuiSysTrayExit\":\"a\xC3\"}"), std::string("\xFF\xFE{\"a\":1}")}) {
        Put("fr_FR.loc", bad);
        EXPECT_EQ(m_translator.LoadFile(m_tracer.Get(), m_folder / "fr_FR.loc", 2, true), ulk::eUnspecified)
            << bad.substr(0, 40);
        Load("fr_FR.UTF-8");
        ExpectBuiltInEnglish();
    }
    EXPECT_TRUE(m_tracer->Has("300 Localization resources were not loaded (fr, fr_FR)"));
}

TEST_F(TranslatorTest, OnlyAReadableRegularFileOfSomeSizeIsRead) {
    const auto expectRefused = [this](const std::string& reason) {
        const std::string path = m_folder / "fr.loc";
        EXPECT_EQ(m_translator.LoadFile(m_tracer.Get(), path, 2, true), ulk::eUnspecified) << reason;
        EXPECT_EQ(m_tracer->Lines().back(), "300 Cannot load localization resources: " + path + ": " + reason);
        ExpectBuiltInEnglish();
        std::filesystem::remove(path);
    };
    std::filesystem::create_directory(m_folder / "fr.loc");
    expectRefused("Invalid type");
    ASSERT_EQ(::mkfifo((m_folder / "fr.loc").c_str(), 0600), 0); // nobody writes: reading would wait for ever
    expectRefused("Invalid type");
    std::filesystem::create_symlink("/dev/zero", m_folder / "fr.loc");
    expectRefused("Invalid type");
    Put("fr.loc", std::string(std::size_t{100} << 20, '['));
    expectRefused("Invalid size");

    Put("fr.loc", R"({"GuiSysTrayExit":"Quitter"})");
    std::filesystem::permissions(m_folder / "fr.loc", std::filesystem::perms::none);
    std::filesystem::permissions(m_folder.Path(), std::filesystem::perms(0755));
    {
        const test::Unprivileged unprivileged;
        EXPECT_EQ(m_translator.LoadFile(m_tracer.Get(), m_folder / "fr.loc", 2, true), ulk::eUnspecified);
    }
    EXPECT_THAT(m_tracer->Lines().back(), EndsWith("fr.loc: Access denied"));
    ExpectBuiltInEnglish();
}

TEST_F(TranslatorTest, TracerMayBeNull) {
    m_translator.Load(nullptr, "pt_BR", true);
    m_translator.Load(nullptr, "fr_FR", true);
    ExpectBuiltInEnglish();
}

TEST_F(TranslatorTest, WithoutUtf8TextsFollowTheLocale) {
    Put("fr.loc", "{\"GuiSysTrayExit\":\"\xC3\xA9\xE5\xA4\xA9 a\xF0\x9F\x98\x80\"}");
    const std::string old = std::setlocale(LC_CTYPE, nullptr);
    ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
    Load("fr_FR", false);
    std::setlocale(LC_CTYPE, old.c_str());
    EXPECT_EQ(m_translator.GetString(entry::GuiSysTrayExit), "?? a?");
    EXPECT_EQ(m_translator.GetString(entry::GuiTaskListStartTask), "Start") << "defaults aren't converted";
}

TEST_F(TranslatorTest, KeptBytesAreUntouched) {
    Put("fr.loc", "{\"GuiSysTrayExit\":\"a\xC3\xA9\"}");
    Load("fr_FR", true);
    EXPECT_EQ(m_translator.GetString(entry::GuiSysTrayExit), "a\xC3\xA9");
}

/// A translation that names every key, as a translator would deliver it.
TEST_F(TranslatorTest, CompleteFileLeavesNothingEnglish) {
    std::string json = "{";
    for (const auto& [id, forms] : m_english) {
        json += json.size() > 1 ? ",\n\"" : "\"";
        json += std::string(m_translator.Catalogue().Find(id)->key);
        json += forms.size() == 1 ? "\":\"т\"" : "\":[\"%d а\",\"%d б\",\"%d в\"]";
    }
    Put("ru_RU.loc", json + "}");
    Load("ru_RU.UTF-8");
    EXPECT_THAT(m_tracer->Lines(), ElementsAre(HasSubstr("Loading localization resources from: ")));
    for (const auto& [id, forms] : Texts())
        EXPECT_EQ(forms.size(), m_english.at(id).size() == 1 ? 1u : 3u) << id;
}

} // namespace
