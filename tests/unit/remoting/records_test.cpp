// SPDX-License-Identifier: GPL-2.0-or-later
// Records against messages that no proxy would make.
#include <foundation/exceptions.h>
#include <tests/unit/remoting/fake_service.h>
#include <wire/event_records.h>
#include <wire/text.h>

#include <capnp/message.h>
#include <gtest/gtest.h>

namespace tfs::test {

namespace schema = wire::schema;

TEST(EventRecord, SurvivesTheMessage) {
    capnp::MallocMessageBuilder message;
    const auto builder = message.initRoot<schema::Event>();
    wire::Write(FullEvent(), builder);
    Event event;
    event.Add(types::AdditionalName::Path, true); // what was there before goes
    wire::Read(builder.asReader(), event);
    EXPECT_EQ(event, FullEvent());

    Event plain;
    capnp::MallocMessageBuilder second;
    wire::Write(plain, second.initRoot<schema::Event>());
    wire::Read(second.getRoot<schema::Event>().asReader(), event);
    EXPECT_EQ(event, plain);
}

TEST(EventQueryRecord, SurvivesTheMessage) {
    EventQuery query;
    query.filters = {{u"EventId", u">=", std::int64_t{-5}, u"AND"},
                     {u"TaskType", u"==", ulk::types::string16_t(u"O\xd800S"), u"OR"},
                     {u"EventType", u"!=", std::uint32_t{7}, u""}};
    query.limit = 12;
    query.offset = 4000000000u;
    query.orderBy = u"EventID ASC";
    capnp::MallocMessageBuilder message;
    auto builder = message.initRoot<schema::EventQuery>();
    wire::Write(query, builder);
    EventQuery read;
    read.filters.resize(9);
    wire::Read(builder.asReader(), read);
    EXPECT_EQ(read, query);
    builder.getFilters()[1].setField(kj::arrayPtr(reinterpret_cast<const capnp::byte*>("abc"), 3));
    EXPECT_THROW(wire::Read(builder.asReader(), read), ulk::InvalidArgumentException);
}

TEST(EventRecord, EstimateCoversTheTexts) {
    const Event small;
    Event large;
    large.Add(types::AdditionalName::FileName, std::string(100'000, 'x'));
    EXPECT_LT(wire::EstimateSize(small), 200u);
    EXPECT_GE(wire::EstimateSize(large), 100'000u);
}

TEST(EventRecord, OddTextIsRefused) {
    capnp::MallocMessageBuilder message;
    auto builder = message.initRoot<schema::Event>();
    builder.initInitiatorUser().initPresent().setUserName(wire::AsData(std::string_view("odd")));
    Event event;
    EXPECT_THROW(wire::Read(builder.asReader(), event), ulk::InvalidArgumentException);
}

TEST(EventRecord, DeepNestingIsRefusedBothWays) {
    ulk::types::variant_t value(1);
    for (int i = 0; i < wire::VariantDepthLimit + 1; ++i)
        value = ulk::types::variant_t::Vector{value};
    capnp::MallocMessageBuilder message;
    EXPECT_THROW(wire::Write(value, message.initRoot<schema::Variant>()), ulk::InvalidArgumentException);

    capnp::MallocMessageBuilder deep;
    auto level = deep.initRoot<schema::Variant>();
    for (int i = 0; i < wire::VariantDepthLimit + 1; ++i)
        level = level.initVector(1)[0];
    EXPECT_THROW(wire::Read(deep.getRoot<schema::Variant>().asReader(), value), ulk::InvalidArgumentException);
}

TEST(EventFilterRecord, SurvivesTheMessage) {
    const EventFilter filter{{1, 47, 0xffffffffu}, {6}, {u"ODS", u""}};
    capnp::MallocMessageBuilder message;
    const auto builder = message.initRoot<schema::EventFilter>();
    wire::Write(filter, builder);
    EventFilter read{{5}, {5}, {u"old"}};
    wire::Read(builder.asReader(), read);
    EXPECT_EQ(read, filter);
}

} // namespace tfs::test
