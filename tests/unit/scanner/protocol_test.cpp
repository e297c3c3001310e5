// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/scanner_channel.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tfs::scanner {
namespace {

TEST(ScannerProtocol, AMessageComesBackAsItWent) {
    MessageBuffer buffer;
    const std::string inner("a\0b\xFF", 4);
    const Message sent{MessageKind::Verdict, 1, 77, 1ull << 40, -5, "Name", inner, {}};
    const auto got = Decode({buffer.data(), Encode(sent, buffer)});
    ASSERT_TRUE(got);
    EXPECT_EQ(got->kind, MessageKind::Verdict);
    EXPECT_EQ(got->code, 1u);
    EXPECT_EQ(got->id, 77u);
    EXPECT_EQ(got->value, 1ull << 40);
    EXPECT_EQ(got->time, -5);
    EXPECT_EQ(got->first, "Name");
    EXPECT_EQ(got->second, inner);
    EXPECT_EQ(got->third, "");
}

TEST(ScannerProtocol, LongTextsAreCutAndStillDecode) {
    MessageBuffer buffer;
    const std::string text(5000, 'x');
    const auto got = Decode({buffer.data(), Encode({MessageKind::Verdict, 0, 0, 0, 0, text, text, text}, buffer)});
    ASSERT_TRUE(got);
    EXPECT_EQ(got->third.size(), MaxText);
}

TEST(ScannerProtocol, EveryDamagedPacketIsRefused) {
    MessageBuffer good;
    const std::size_t size = Encode({MessageKind::Verdict, 1, 2, 3, 4, "abc", "de", "f"}, good);
    for (std::size_t cut = 0; cut < size; ++cut)
        EXPECT_FALSE(Decode({good.data(), cut})) << cut;
    EXPECT_FALSE(Decode({good.data(), size + 1}));
    const auto damaged = [&](std::size_t at, unsigned value) {
        MessageBuffer bad = good;
        bad[at] = static_cast<std::byte>(value);
        return Decode({bad.data(), size});
    };
    EXPECT_FALSE(damaged(0, 0)); // unknown kinds
    EXPECT_FALSE(damaged(0, 200));
    EXPECT_FALSE(damaged(32, 4));   // a text longer than the packet
    EXPECT_FALSE(damaged(33, 255)); // a text longer than any
    EXPECT_FALSE(damaged(38, 1));   // the unused size
}

TEST(ScannerChannel, DescriptorsArriveCloseOnExecAndSurplusOnesAreClosed) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const Descriptor a(ends[0]);
    Descriptor b(ends[1]);
    const Descriptor file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int passed[] = {file.Get(), a.Get()};
    ASSERT_EQ(Send(a.Get(), {.kind = MessageKind::WorkerStarted, .id = 9}, passed), 0);
    Received received;
    ASSERT_EQ(Receive(b.Get(), received), ReceiveResult::Message);
    EXPECT_EQ(received.message.id, 9u);
    for (const Descriptor& each : received.descriptors) {
        ASSERT_TRUE(each);
        EXPECT_NE(::fcntl(each.Get(), F_GETFD) & FD_CLOEXEC, 0);
    }
    const int first = received.descriptors[0].Get();
    EXPECT_EQ(Receive(b.Get(), received, MSG_DONTWAIT), ReceiveResult::Nothing);
    EXPECT_EQ(::fcntl(first, F_GETFD), -1) << "the descriptors of the message before are closed";
    ASSERT_EQ(::send(a.Get(), "garbage", 7, 0), 7);
    EXPECT_EQ(Receive(b.Get(), received), ReceiveResult::Garbage);
    b.Reset();
    EXPECT_EQ(Send(a.Get(), {.kind = MessageKind::Ready}), EPIPE);
}

} // namespace
} // namespace tfs::scanner
