// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/setting_value.h>
#include <tfs_common/settings_storage.h>

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace tfs::settings {
namespace {

struct Area {
    std::string path = "/default";
    bool isUsed = true;
    std::int32_t secret = 5;
    friend bool operator==(const Area&, const Area&) = default;
};

struct Sample {
    std::uint64_t uniqueId = 11;
    std::vector<Area> areas;
    std::vector<std::string> masks;
    Area home;
    std::int32_t level = 3;
    friend bool operator==(const Sample&, const Sample&) = default;
};

constexpr Member AreaMembers[] = {
    Describe<&Area::path>("Path", Path()),
    Describe<&Area::isUsed>("Use", Boolean()),
    Describe<&Area::secret>("nodisplay_secret", Integer<std::int32_t>(0, 100)),
};
constexpr auto AreaType = Structure<Area>(AreaMembers);
constexpr auto MaskType = Text(10);
constexpr Member SampleMembers[] = {
    Describe<&Sample::uniqueId>("unique_id", Integer<std::uint64_t>(0, 100)),
    Describe<&Sample::areas>("Areas", List(AreaType)),
    Describe<&Sample::masks>("Masks", List(MaskType, 2)),
    Describe<&Sample::home>("Home", AreaType),
    Describe<&Sample::level>("Level", Integer<std::int32_t>(-5, 5)),
};
constexpr auto SampleType = Structure<Sample>(SampleMembers);

objptr_t<IStorage> Tree(const Sample& sample) { return MakeStorage("root", SampleType, &sample); }

Sample Back(const IStorage& root) {
    Sample sample;
    sample.areas.resize(7);
    ReadStorage(root, &sample);
    return sample;
}

std::vector<std::string> Keys(const IStorage& root) {
    std::vector<std::string> keys;
    ForEachSetting(root, [&keys](const std::string& key, const IStorage&) { keys.push_back(key); });
    return keys;
}

TEST(SettingsStorage, AStructureMakesTheRoundTrip) {
    Sample sample;
    sample.uniqueId = 99;
    sample.areas = {{"/a", false, 1}, {"/b", true, 2}};
    sample.masks = {"*.o"};
    sample.home.secret = 8;
    const auto root = Tree(sample);
    EXPECT_EQ(root->Name(), "root");
    EXPECT_EQ(Back(*root), sample);
    EXPECT_EQ(Keys(*root), (std::vector<std::string>{"Areas", "Areas.item_0000.Path", "Areas.item_0000.Use",
                                                     "Areas.item_0001.Path", "Areas.item_0001.Use", "Masks",
                                                     "Masks.item_0000", "Home.Path", "Home.Use", "Level"}));
    for (const std::string& key : Keys(*root))
        EXPECT_NE(FindNode(*root, key), nullptr) << key;
    EXPECT_EQ(Back(*root), sample) << "looking changed something";
}

TEST(SettingsStorage, WhatIsNoSettingIsNotFound) {
    Sample sample;
    sample.areas.resize(1);
    sample.masks = {"a", "b"};
    const auto root = Tree(sample);
    for (const std::string& key : std::vector<std::string>{"",
                                                           ".",
                                                           "level",
                                                           "Level ",
                                                           "Level.",
                                                           ".Level",
                                                           "Level.x",
                                                           "Home.",
                                                           "Home.path",
                                                           "root.Level",
                                                           "Areas.",
                                                           "Areas.0",
                                                           "Areas.item_0",
                                                           "Areas.item_00000",
                                                           "Areas.item_-001",
                                                           "Areas.item_000x",
                                                           "Areas.item_ 000",
                                                           "Areas.Item_0000",
                                                           "Areas.item_0002",
                                                           "Areas.item_9999",
                                                           "Areas.item_0000.",
                                                           "Areas.item_0000.Path.x",
                                                           "Masks.item_0002",
                                                           "unique_id",
                                                           "Home.nodisplay_secret",
                                                           "Areas.item_0000.nodisplay_secret",
                                                           std::string("Level\0", 6),
                                                           std::string(100000, '.')})
        EXPECT_EQ(FindNode(*root, key), nullptr) << key.substr(0, 50);
    EXPECT_EQ(Back(*root), sample);
}

TEST(SettingsStorage, ListsGrowByOneAndAreEmptied) {
    Sample sample;
    sample.masks = {"a"};
    const auto root = Tree(sample);
    IStorage* const first = FindNode(*root, "Areas.item_0000.Path");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(*first->Value().As<std::string>(), "/default");
    EXPECT_EQ(first->SetValue(std::string("/x")), ulk::sOk);
    ASSERT_NE(FindNode(*root, "Masks.item_0001"), nullptr);
    sample.areas = {{"/x", true, 5}};
    sample.masks = {"a", ""};
    EXPECT_EQ(Back(*root), sample);

    EXPECT_EQ(FindNode(*root, "Masks")->RemoveElements(), ulk::sOk);
    EXPECT_EQ(FindNode(*root, "Home")->RemoveElements(), ulk::eInvalidType);
    EXPECT_EQ(FindNode(*root, "Level")->AppendElement(), ulk::eInvalidType);
    sample.masks.clear();
    EXPECT_EQ(Back(*root), sample);
}

TEST(SettingsStorage, ANodeKeepsItsType) {
    const auto root = Tree({});
    IStorage* const level = FindNode(*root, "Level");
    EXPECT_EQ(level->SetValue(std::string("1")), ulk::eInvalidType);
    EXPECT_EQ(level->SetValue(std::uint64_t{1}), ulk::eInvalidType);
    EXPECT_EQ(level->SetValue({}), ulk::eInvalidType);
    EXPECT_EQ(FindNode(*root, "Home")->SetValue(true), ulk::eInvalidType);
    EXPECT_EQ(Back(*root), Sample());
}

/// The fault of a text, or nothing where it is taken and written back as `written`.
void ExpectValue(const ValueType& type, const std::string& text, const std::string& written) {
    EXPECT_EQ(PrintValue(type, ParseValue(type, text)), written);
}
void ExpectFault(const ValueType& type, const std::string& text, ValueFault fault) {
    try {
        ParseValue(type, text);
        ADD_FAILURE() << text.substr(0, 50);
    } catch (const ValueError& e) {
        EXPECT_EQ(e.Fault(), fault) << text.substr(0, 50);
    }
}

TEST(SettingValue, NumbersAreWholeTextsWithinTheRange) {
    constexpr auto type = Integer<std::uint32_t>(-1, 10000);
    for (const char* text : {"-1", "0", "10000"})
        ExpectValue(type, text, text);
    ExpectValue(type, "007", "7");
    for (const char* text : {"-2", "10001", "4294967296", "99999999999999999999999", "-99999999999999999999999"})
        ExpectFault(type, text, ValueFault::OutOfRange);
    for (const char* text :
         {"", "-", "+1", " 1", "1 ", "0x10", "1e3", "1.0", "one", "99999999999999999999999x", "\xD9\xA1"})
        ExpectFault(type, text, ValueFault::NotANumber);
    ExpectFault(type, std::string("1\0", 2), ValueFault::NotANumber);
    constexpr auto widest =
        Integer<std::int64_t>(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
    ExpectValue(widest, "-9223372036854775808", "-9223372036854775808");
    ExpectFault(widest, "9223372036854775808", ValueFault::OutOfRange);
}

TEST(SettingValue, WordsAreThoseOfTheTable) {
    constexpr auto type = Enumerated<types::TsnUsage>();
    ExpectValue(type, "Basic", "Basic");
    for (const char* text : {"", "basic", "2", "Basic ", "No"})
        ExpectFault(type, text, ValueFault::NotNamed);
    ExpectValue(Boolean(), "true", "yes");
    ExpectValue(Boolean(), "no", "no");
    for (const char* text : {"", "1", "TRUE"})
        ExpectFault(Boolean(), text, ValueFault::NotNamed);
}

TEST(SettingValue, PathsAreAbsoluteAndGoDown) {
    const std::string longest = "/" + std::string(4094, 'p');
    for (const std::string& text :
         {std::string("/"), std::string("/a/..b/...c/d.."), std::string("//a/./b/"), std::string("/\xFF \n"), longest})
        ExpectValue(Path(), text, text);
    ExpectFault(Path(), longest + "p", ValueFault::TooLong);
    for (const char* text : {"", "a", "../a", "~/a", " /a", "./a"})
        ExpectFault(Path(), text, ValueFault::NotAbsolute);
    for (const char* text : {"/..", "/../", "/a/..", "/a/../b", "//../a"})
        ExpectFault(Path(), text, ValueFault::NotAllowed);
    ExpectFault(Path(), std::string("/a\0b", 4), ValueFault::NotAllowed);
    ExpectValue(Text(3), "abc", "abc");
    ExpectFault(Text(3), "abcd", ValueFault::TooLong);
    ExpectFault(Text(3), std::string("\0", 1), ValueFault::NotAllowed);
    ExpectFault(SampleType, "", ValueFault::NotAllowed);
}

} // namespace
} // namespace tfs::settings
