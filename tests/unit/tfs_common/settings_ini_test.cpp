// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <tests/unit/foundation/test_services.h>
#include <tests/unit/tfs_common/test_folder.h>
#include <tests/unit/tfs_common/unprivileged.h>
#include <tfs_common/settings_tools.h>

#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace tfs::tools {
namespace {

using settings::ChangeItem;
using settings::SettingsChangeList;
using Items = std::vector<ChangeItem>;

const Items kBefore{{"Earlier", "item"}};

Items Read(const std::string& text, const std::string& section = {}) {
    SettingsChangeList list;
    std::istringstream stream(text);
    ReadIniImpl(nullptr, stream, section, list);
    return list.items;
}

TEST(SettingsIni, LinesBecomeItemsInTheirOrder) {
    const struct {
        const char* name;
        std::string text;
        Items items;
    } rows[] = {
        {"nothing", "", {}},
        {"blank lines alone", "\n \t\n\r\n\v\f\n   ", {}},
        {"section", "[Section]\na=b", {{"Section.a", "b"}}},
        {"no section", "a=b\n", {{"a", "b"}}},
        {"quotes and a later =", "a = \"b=c\"", {{"a", "b=c"}}},
        {"quotes are no escape", "a=\"\"x\" y\"\"", {{"a", "x y"}}},
        {"a quote keeps the space that it stands round", "a=\" b \"", {{"a", " b "}}},
        {"quotes of a key stay", "\"a\"=b", {{"\"a\"", "b"}}},
        {"no =", "key", {{"key", ""}}},
        {"= alone", "=", {{"", ""}}},
        {"no key", "[S]\n=b", {{"S.", "b"}}},
        {"no comments", ";a=b\n#c\n", {{";a", "b"}, {"#c", ""}}},
        {"brackets within a section", "[a]b]\nx=1", {{"ab.x", "1"}}},
        {"unclosed section", "[[a\nx=1", {{"a.x", "1"}}},
        {"section with text behind it", "[a] b\nx=1", {{"a b.x", "1"}}},
        {"section ends the earlier one",
         "[a]\nx=1\n[b.item_0000]\ny=2\n[]\nz=3",
         {{"a.x", "1"}, {"b.item_0000.y", "2"}, {"z", "3"}}},
        {"bracket in a value", "a=[b]", {{"a", "[b]"}}},
        {"duplicates", "a=1\na=2\na=1", {{"a", "1"}, {"a", "2"}, {"a", "1"}}},
        {"white space", " \t a \t=\v b \f c\r\n", {{"a", "b \f c"}}},
        {"NUL",
         std::string("a\0b=\0\n\0", 7),
         {{std::string("a\0b", 3), std::string("\0", 1)}, {std::string("\0", 1), ""}}},
        {"bytes that are no UTF-8", "\xFF=\xA0\x85\n", {{"\xFF", "\xA0\x85"}}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Read(row.text), row.items) << row.name;
    EXPECT_EQ(Read("a=1\n[T]\nb=2", "S"), (Items{{"S.a", "1"}, {"T.b", "2"}}));
}

TEST(SettingsIni, ALineMayHave4096BytesWithoutTheSpaceRoundIt) {
    const std::string longest(4096 - 2, 'v');
    const std::string blanks(100000, ' ');
    EXPECT_EQ(Read("k=" + longest), (Items{{"k", longest}}));
    EXPECT_EQ(Read(blanks + "k=" + longest + blanks + "\nl=1"), (Items{{"k", longest}, {"l", "1"}}));
    EXPECT_EQ(Read(blanks + "\n" + blanks), Items());

    for (const std::string& text :
         {"k=" + longest + "v", "k=" + longest + " v", "k=" + longest + blanks + "v", "a" + blanks + "b",
          "[" + std::string(4096, 's') + "\n", "a=1\nk=" + std::string(1 << 20, 'x') + "\nb=2"}) {
        SettingsChangeList list;
        list.items = kBefore;
        std::istringstream stream(text);
        try {
            ReadIniImpl(nullptr, stream, {}, list);
            ADD_FAILURE() << "nothing thrown for " << text.size();
        } catch (const std::out_of_range& e) {
            EXPECT_STREQ(e.what(), "settings string is too long");
        }
        EXPECT_EQ(list.items, kBefore);
    }
}

/// Gives a few bytes, then the device fails.
class FailingBuffer : public std::streambuf {
public:
    FailingBuffer() { setg(m_text, m_text, m_text + sizeof(m_text) - 1); }

protected:
    int_type underflow() override { throw std::runtime_error("device"); }

private:
    char m_text[5] = "a=1\n";
};

TEST(SettingsIni, AStreamThatFailsLeavesTheList) {
    FailingBuffer buffer;
    std::istream stream(&buffer);
    SettingsChangeList list;
    list.items = kBefore;
    EXPECT_THROW(ReadIniImpl(nullptr, stream, {}, list), std::runtime_error);
    EXPECT_EQ(list.items, kBefore);
}

class SettingsFile : public testing::Test {
protected:
    /// Loads into a list that isn't empty; the failure is one line at level 300 and nothing else has changed.
    result_t Load(const std::string& path, const std::string& reason) {
        SettingsChangeList list;
        list.typeNumber = 7;
        list.items = kBefore;
        m_services.tracer->greatestLevel = ulk::level::Failure;
        m_services.tracer->lines.clear();
        const result_t result = LoadChangeList(m_services.locator.Get(), path, list);
        EXPECT_EQ(list.items, kBefore);
        EXPECT_EQ(m_services.tracer->lines,
                  std::vector<std::string>{"Cannot read settings from file " + path + ": " + reason});
        return result;
    }

    test::Folder m_folder;
    ulk::test::Services m_services;
};

TEST_F(SettingsFile, ItemsAreAppended) {
    const std::string path = m_folder / "settings.ini";
    test::WriteFile(path, "\xEF\xBB\xBF\n[S]\na=1");
    SettingsChangeList list;
    list.typeNumber = 7;
    list.allowEmpty = true;
    list.items = kBefore;
    EXPECT_EQ(LoadChangeList(m_services.locator.Get(), path, list), ulk::sOk);
    EXPECT_EQ(list.items, (Items{{"Earlier", "item"}, {"\xEF\xBB\xBF", ""}, {"S.a", "1"}}));
    EXPECT_EQ(list.typeNumber, 7u);
    EXPECT_TRUE(list.allowEmpty);
    // Without a tracer, and without a locator.
    m_services.locator->services.clear();
    EXPECT_EQ(LoadChangeList(m_services.locator.Get(), path, list), ulk::sOk);
    EXPECT_EQ(LoadChangeList(nullptr, m_folder / "missing", list), ulk::eFileNotFound);
    EXPECT_EQ(list.items.size(), 5u);

    test::WriteFile(path, "\n \n");
    SettingsChangeList empty;
    EXPECT_EQ(LoadChangeList(nullptr, path, empty), ulk::sOk);
    EXPECT_TRUE(empty.items.empty());
}

TEST_F(SettingsFile, OnlyARegularFileIsRead) {
    const std::string fifo = m_folder / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(Load(fifo, "Invalid type"), ulk::eInvalidType); // nobody writes: reading would wait for ever
    const std::string link = m_folder / "link";
    ASSERT_EQ(::symlink(fifo.c_str(), link.c_str()), 0);
    EXPECT_EQ(Load(link, "Invalid type"), ulk::eInvalidType);
    EXPECT_EQ(Load(m_folder.Path(), "Invalid type"), ulk::eInvalidType);
    EXPECT_EQ(Load("/dev/zero", "Invalid type"), ulk::eInvalidType);

    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string socketPath = m_folder / "socket";
    socketPath.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(Load(socketPath, "Invalid type"), ulk::eInvalidType);
    ::close(socket);

    EXPECT_EQ(Load(m_folder / "missing", "File not found"), ulk::eFileNotFound);
    EXPECT_EQ(Load("", "File not found"), ulk::eFileNotFound);
    const std::string loop = m_folder / "loop";
    ASSERT_EQ(::symlink(loop.c_str(), loop.c_str()), 0);
    EXPECT_EQ(Load(loop, "Invalid state"), ulk::eInvalidState);
    const std::string secret = m_folder / "secret";
    test::WriteFile(secret, "a=1");
    ASSERT_EQ(::chmod(secret.c_str(), 0), 0);
    ASSERT_EQ(::chmod(m_folder.Path().c_str(), 0755), 0);
    {
        const test::Unprivileged unprivileged;
        EXPECT_EQ(Load(secret, "Access denied"), ulk::eAccessDenied);
    }
    // What stands behind a NUL would be left out of the name.
    test::WriteFile(m_folder / "real", "a=1");
    EXPECT_EQ(Load((m_folder / "real") + std::string("\0.ini", 5), "Invalid argument"), ulk::eInvalidArgument);
}

TEST_F(SettingsFile, SizeAndLinesAreBounded) {
    const std::string path = m_folder / "settings.ini";
    std::string text;
    while (text.size() + 4 <= GreatestSettingsFile)
        text += "a=1\n";
    test::WriteFile(path, text);
    SettingsChangeList list;
    EXPECT_EQ(LoadChangeList(nullptr, path, list), ulk::sOk);
    EXPECT_EQ(list.items.size(), GreatestSettingsFile / 4);
    test::WriteFile(path, text + "\n");
    EXPECT_EQ(Load(path, "Invalid size"), ulk::eInvalidSize);
    test::WriteFile(path, "a=" + std::string(4095, 'x'));
    EXPECT_EQ(Load(path, "settings string is too long"), ulk::eInvalidArgument);
}

} // namespace
} // namespace tfs::tools
