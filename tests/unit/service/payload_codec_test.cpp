// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/payload_codec.h>

#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace tfs::service::store {
namespace {

using types::AdditionalName;
using ulk::types::FileTime;
using ulk::types::string16_t;
using ulk::types::variant_t;

variant_t Nested(int depth) {
    variant_t value(std::int32_t{7});
    for (int i = 0; i < depth; ++i)
        value = variant_t(variant_t::Vector{value});
    return value;
}

Event EventWithEveryTag() {
    Event event;
    event.initiator = types::EventInitiator::User;
    event.initiatorUser = EventUser{4294967295u, u"jürgen"};
    const char16_t loneSurrogate[] = {u'a', 0xD800, u'b', 0};
    event.Add(AdditionalName::FileName, variant_t());
    event.Add(AdditionalName::ObjectName, true);
    event.Add(AdditionalName::ObjectType, false, true);
    for (const std::int32_t number :
         {0, 1, -1, 64, -65, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()})
        event.Add(AdditionalName::Size, number);
    for (const std::int64_t number :
         {std::numeric_limits<std::int64_t>::min(), std::int64_t{0}, std::numeric_limits<std::int64_t>::max()}) {
        event.Add(AdditionalName::TaskId, number);
        event.Add(AdditionalName::UpdateTime, FileTime{number});
    }
    event.Add(AdditionalName::FileOwnerId, std::numeric_limits<std::uint32_t>::max());
    event.Add(AdditionalName::RuntimeTaskId, std::numeric_limits<std::uint64_t>::max());
    event.Add(AdditionalName::Path, std::string("\xff\0 not text", 11));
    event.Add(AdditionalName::Path, std::string());
    event.Add(AdditionalName::TaskName, string16_t(loneSurrogate));
    event.Add(AdditionalName::TaskName, string16_t());
    event.Add(AdditionalName::Settings, variant_t(variant_t::Vector{}));
    event.Add(AdditionalName::Settings, variant_t(variant_t::Vector{std::int32_t{1}, string16_t(u"x"), Nested(3)}));
    event.Add(AdditionalName::Settings, Nested(MaxValueDepth));
    event.Add(static_cast<AdditionalName::Type>(-5), std::int32_t{1}); // a name of a later version
    return event;
}

std::string Encoded(const Event& event) {
    std::string bytes;
    EXPECT_EQ(EncodePayload(event, bytes), ulk::sOk);
    return bytes;
}

TEST(PayloadCodec, EveryTagComesBackTheSame) {
    const Event event = EventWithEveryTag();
    Event decoded;
    decoded.time = event.time;
    ASSERT_TRUE(DecodePayload(Encoded(event), decoded));
    EXPECT_EQ(decoded, event);
    Event plain;
    Event decodedPlain = plain;
    ASSERT_TRUE(DecodePayload(Encoded(plain), decodedPlain));
    EXPECT_EQ(decodedPlain, plain);
}

TEST(PayloadCodec, TooDeepAValueIsRefused) {
    Event event;
    event.Add(AdditionalName::Settings, Nested(MaxValueDepth + 1));
    std::string bytes;
    EXPECT_EQ(EncodePayload(event, bytes), ulk::eInvalidArgument);
    // Written by hand: ten vectors of one, as no encoder of ours would.
    std::string deep("\x01\x04\x00\x01\x00\x00", 6);
    for (int i = 0; i < 10; ++i)
        deep += std::string("\x87\x20\x01", 3);
    deep += std::string("\x00", 1);
    Event target;
    EXPECT_FALSE(DecodePayload(deep, target));
}

TEST(PayloadCodec, EveryTruncationAndEveryTailIsRefusedAndChangesNothing) {
    const std::string bytes = Encoded(EventWithEveryTag());
    Event untouched;
    untouched.Add(AdditionalName::FileName, "kept");
    const Event before = untouched;
    for (std::size_t size = 0; size < bytes.size(); ++size)
        ASSERT_FALSE(DecodePayload(bytes.substr(0, size), untouched)) << size;
    EXPECT_FALSE(DecodePayload(bytes + '\0', untouched));
    EXPECT_EQ(untouched, before);
}

TEST(PayloadCodec, HostileLengthsAreRefusedBeforeMemoryIsTaken) {
    const std::string head("\x01\x04\x00", 3);
    const std::string huge("\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01", 10);
    const std::string overlong("\xff\xff\xff\xff\xff\xff\xff\xff\xff\x02", 10);
    const std::string hostile[] = {
        head + huge,                                               // number of values
        head + overlong,                                           // beyond 64 bits
        head + "\x01" + std::string("\x00\x00\x0e", 3) + huge,     // narrow text
        head + "\x01" + std::string("\x00\x00\x0f", 3) + huge,     // wide text
        head + "\x01" + std::string("\x00\x00\x87\x20", 4) + huge, // vector
        head + "\x01" + std::string("\x00\x00\x63", 3),            // unknown tag
        head + "\x01" + std::string("\x00\x00\x02\x02", 4),        // neither true nor false
        std::string("\x02\x04\x00\x00", 4),                        // another version
        std::string("\x01\x04\x02\x00", 4),                        // neither a user nor none
    };
    for (const std::string& bytes : hostile) {
        Event event;
        EXPECT_FALSE(DecodePayload(bytes, event));
    }
}

TEST(PayloadCodec, WhatDecodesAfterDamageEncodesAgain) {
    std::mt19937 random(20240607);
    const std::string good = Encoded(EventWithEveryTag());
    int decodedCount = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string bytes = good;
        for (auto flips = 1 + random() % 3; flips > 0; --flips)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        Event event;
        if (!DecodePayload(bytes, event))
            continue;
        ++decodedCount;
        Event again;
        again.time = event.time;
        ASSERT_TRUE(DecodePayload(Encoded(event), again));
        ASSERT_EQ(again, event);
    }
    EXPECT_GT(decodedCount, 0);
}

} // namespace
} // namespace tfs::service::store
