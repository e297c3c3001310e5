// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <wire/event_records.h>
#include <wire/task_records.h>
#include <wire/text.h>

namespace tfs::wire {
namespace {

using ulk::types::FileTime;
using ulk::types::string16_t;
using ulk::types::variant_t;
using Tag = variant_t::Tag;

void RequireDepth(int depth) {
    if (depth > VariantDepthLimit)
        throw ulk::InvalidArgumentException(__FILE__, __LINE__, ulk::eInvalidArgument);
}

void WriteVariant(const variant_t& value, schema::Variant::Builder out, int depth) {
    RequireDepth(depth);
    switch (value.tag()) {
    case Tag::Empty:
        out.setEmpty();
        return;
    case Tag::Bool:
        out.setBoolean(*value.As<bool>());
        return;
    case Tag::Int32:
        out.setInt32(*value.As<std::int32_t>());
        return;
    case Tag::Int64:
        out.setInt64(*value.As<std::int64_t>());
        return;
    case Tag::UInt32:
        out.setUint32(*value.As<std::uint32_t>());
        return;
    case Tag::UInt64:
        out.setUint64(*value.As<std::uint64_t>());
        return;
    case Tag::DateTime:
        out.setDateTime(value.As<FileTime>()->ticks);
        return;
    case Tag::Text:
        out.setText(AsData(*value.As<std::string>()));
        return;
    case Tag::Text16:
        out.setText16(AsData(*value.As<string16_t>()));
        return;
    case Tag::Vector: {
        const auto& items = *value.As<variant_t::Vector>();
        auto list = out.initVector(static_cast<capnp::uint>(items.size()));
        for (std::size_t i = 0; i < items.size(); ++i)
            WriteVariant(items[i], list[static_cast<capnp::uint>(i)], depth + 1);
        return;
    }
    }
}

variant_t ReadVariant(schema::Variant::Reader in, int depth) {
    RequireDepth(depth);
    switch (in.which()) {
    case schema::Variant::EMPTY:
        return {};
    case schema::Variant::BOOLEAN:
        return in.getBoolean();
    case schema::Variant::INT32:
        return in.getInt32();
    case schema::Variant::INT64:
        return in.getInt64();
    case schema::Variant::UINT32:
        return in.getUint32();
    case schema::Variant::UINT64:
        return in.getUint64();
    case schema::Variant::DATE_TIME:
        return FileTime{in.getDateTime()};
    case schema::Variant::TEXT:
        return ReadBytes(in.getText());
    case schema::Variant::TEXT16: {
        string16_t text;
        ReadText(in.getText16(), text);
        return text;
    }
    case schema::Variant::VECTOR: {
        variant_t::Vector items;
        const auto list = in.getVector();
        items.reserve(list.size());
        for (const auto& item : list)
            items.push_back(ReadVariant(item, depth + 1));
        return items;
    }
    }
    return {}; // a tag of a later version
}

std::size_t EstimateVariant(const variant_t& value, int depth) noexcept {
    std::size_t size = 24;
    if (const auto* text = value.As<std::string>())
        size += text->size();
    else if (const auto* text16 = value.As<string16_t>())
        size += text16->size() * sizeof(char16_t);
    else if (const auto* items = value.As<variant_t::Vector>(); items != nullptr && depth < VariantDepthLimit)
        for (const auto& item : *items)
            size += EstimateVariant(item, depth + 1);
    return size;
}

} // namespace

void Write(const variant_t& value, schema::Variant::Builder out) { WriteVariant(value, out, 0); }

void Read(schema::Variant::Reader in, variant_t& value) { value = ReadVariant(in, 0); }

void Write(const Event& event, schema::Event::Builder out) {
    out.setId(event.id);
    out.setType(event.type);
    out.setSeverity(event.severity);
    out.setInitiator(event.initiator);
    if (event.initiatorUser)
        WriteAccount(event.initiatorUser->uid, event.initiatorUser->userName, out.initInitiatorUser().initPresent());
    out.setTime(event.time);
    auto list = out.initAdditional(static_cast<capnp::uint>(event.additional.size()));
    capnp::uint index = 0;
    for (const EventAdditionalData& pair : event.additional) {
        auto item = list[index++];
        item.setName(pair.name);
        Write(pair.value, item.initValue());
        item.setHidden(pair.hidden);
    }
}

void Read(schema::Event::Reader in, Event& event) {
    event.id = in.getId();
    event.type = static_cast<types::EventName::Type>(in.getType());
    event.severity = static_cast<types::EventSeverity::Type>(in.getSeverity());
    event.initiator = static_cast<types::EventInitiator::Type>(in.getInitiator());
    event.initiatorUser.reset();
    if (const auto user = in.getInitiatorUser(); user.isPresent()) {
        const auto account = user.getPresent();
        event.initiatorUser.emplace();
        event.initiatorUser->uid = account.getUid();
        ReadText(account.getUserName(), event.initiatorUser->userName);
    }
    event.time = in.getTime();
    event.additional.clear();
    const auto list = in.getAdditional();
    event.additional.reserve(list.size());
    for (const auto& item : list) {
        EventAdditionalData& pair = event.additional.emplace_back();
        pair.name = static_cast<types::AdditionalName::Type>(item.getName());
        Read(item.getValue(), pair.value);
        pair.hidden = item.getHidden();
    }
}

void WriteList(const ulk::types::vector_t<Event>& events, capnp::List<schema::Event>::Builder out) {
    for (std::size_t i = 0; i < events.size(); ++i)
        Write(events[i], out[static_cast<capnp::uint>(i)]);
}

void ReadList(capnp::List<schema::Event>::Reader in, ulk::types::vector_t<Event>& events) {
    events.clear();
    events.resize(in.size());
    for (std::size_t i = 0; i < events.size(); ++i)
        Read(in[static_cast<capnp::uint>(i)], events[i]);
}

void Write(const EventFilter& filter, schema::EventFilter::Builder out) {
    const auto writeNumbers = [](const auto& numbers, capnp::List<std::uint32_t>::Builder list) {
        for (std::size_t i = 0; i < numbers.size(); ++i)
            list.set(static_cast<capnp::uint>(i), numbers[i]);
    };
    writeNumbers(filter.eventTypes, out.initEventTypes(static_cast<capnp::uint>(filter.eventTypes.size())));
    writeNumbers(filter.excludedEventTypes,
                 out.initExcludedEventTypes(static_cast<capnp::uint>(filter.excludedEventTypes.size())));
    auto taskTypes = out.initTaskTypes(static_cast<capnp::uint>(filter.taskTypes.size()));
    for (std::size_t i = 0; i < filter.taskTypes.size(); ++i)
        taskTypes.set(static_cast<capnp::uint>(i), AsData(filter.taskTypes[i]));
}

void Read(schema::EventFilter::Reader in, EventFilter& filter) {
    filter.eventTypes.clear();
    for (const std::uint32_t type : in.getEventTypes())
        filter.eventTypes.push_back(type);
    filter.excludedEventTypes.clear();
    for (const std::uint32_t type : in.getExcludedEventTypes())
        filter.excludedEventTypes.push_back(type);
    filter.taskTypes.clear();
    for (const auto& taskType : in.getTaskTypes())
        ReadText(taskType, filter.taskTypes.emplace_back());
}

void WriteList(const ulk::types::vector_t<QueryClause>& clauses, capnp::List<schema::EventQuery::Clause>::Builder out) {
    capnp::uint index = 0;
    for (const QueryClause& clause : clauses) {
        auto item = out[index++];
        item.setField(AsData(clause.field));
        item.setOperation(AsData(clause.operation));
        Write(clause.value, item.initValue());
        item.setLogic(AsData(clause.logic));
    }
}

void ReadList(capnp::List<schema::EventQuery::Clause>::Reader in, ulk::types::vector_t<QueryClause>& clauses) {
    clauses.clear();
    for (const auto& item : in) {
        QueryClause& clause = clauses.emplace_back();
        ReadText(item.getField(), clause.field);
        ReadText(item.getOperation(), clause.operation);
        Read(item.getValue(), clause.value);
        ReadText(item.getLogic(), clause.logic);
    }
}

void Write(const EventQuery& query, schema::EventQuery::Builder out) {
    WriteList(query.filters, out.initFilters(static_cast<capnp::uint>(query.filters.size())));
    out.setLimit(query.limit);
    out.setOffset(query.offset);
    out.setOrderBy(AsData(query.orderBy));
}

void Read(schema::EventQuery::Reader in, EventQuery& query) {
    ReadList(in.getFilters(), query.filters);
    query.limit = in.getLimit();
    query.offset = in.getOffset();
    ReadText(in.getOrderBy(), query.orderBy);
}

std::size_t EstimateSize(const Event& event) noexcept {
    std::size_t size = 64;
    if (event.initiatorUser)
        size += 32 + event.initiatorUser->userName.size() * sizeof(char16_t);
    for (const EventAdditionalData& pair : event.additional)
        size += 24 + EstimateVariant(pair.value, 0);
    return size;
}

} // namespace tfs::wire
