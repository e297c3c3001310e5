// SPDX-License-Identifier: GPL-2.0-or-later
// Events, filters and queries to and from the message. On the thread that owns the message.
#pragma once

#include <contract/tfs/event.h>
#include <contract/tfs/event_query.h>
#include <wire/tesl.capnp.h>

#include <cstddef>

namespace tfs::wire {

/// A value nested deeper than this throws ulk::InvalidArgumentException in both directions.
inline constexpr int VariantDepthLimit = 16;

void Write(const ulk::types::variant_t& value, schema::Variant::Builder out);
void Read(schema::Variant::Reader in, ulk::types::variant_t& value);

void Write(const Event& event, schema::Event::Builder out);
/// Numbers without a row in the value tables are kept as they are. Broken text throws
/// ulk::InvalidArgumentException, a broken message kj::Exception; `event` is then half filled.
void Read(schema::Event::Reader in, Event& event);

/// `out` was made with the size of `events`.
void WriteList(const ulk::types::vector_t<Event>& events, capnp::List<schema::Event>::Builder out);
void ReadList(capnp::List<schema::Event>::Reader in, ulk::types::vector_t<Event>& events);

void Write(const EventFilter& filter, schema::EventFilter::Builder out);
void Read(schema::EventFilter::Reader in, EventFilter& filter);

/// Broken text and values throw as those of an event. `out` was made with the size of `clauses`.
void WriteList(const ulk::types::vector_t<QueryClause>& clauses, capnp::List<schema::EventQuery::Clause>::Builder out);
void ReadList(capnp::List<schema::EventQuery::Clause>::Reader in, ulk::types::vector_t<QueryClause>& clauses);

/// Broken text and values throw as those of an event.
void Write(const EventQuery& query, schema::EventQuery::Builder out);
void Read(schema::EventQuery::Reader in, EventQuery& query);

/// Bytes that the event takes in a message, roughly; for keeping batches small.
std::size_t EstimateSize(const Event& event) noexcept;

} // namespace tfs::wire
