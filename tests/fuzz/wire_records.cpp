// SPDX-License-Identifier: GPL-2.0-or-later
// Messages of the connection into records: what can be read can be written and reads the same again.
#include <foundation/exceptions.h>
#include <tests/fuzz/input.h>
#include <wire/backup_records.h>
#include <wire/event_records.h>
#include <wire/settings_records.h>
#include <wire/task_records.h>

#include <capnp/message.h>
#include <capnp/serialize.h>
#include <cstring>
#include <kj/exception.h>

namespace {

namespace schema = tfs::wire::schema;

/// Less than a connection's, so that lists of nothing stay short and the runs many.
constexpr std::uint64_t TraversalLimit = 1 << 14;

template <class Record>
bool IsSame(const Record& a, const Record& b) {
    if constexpr (requires { a == b; })
        return a == b;
    else
        return true;
}

template <class Schema, class Record>
void Convert(capnp::MessageReader& message) {
    Record record;
    try {
        tfs::wire::Read(message.getRoot<Schema>(), record);
    } catch (const kj::Exception&) {
        return;
    } catch (const ulk::InvalidArgumentException&) {
        return;
    }
    capnp::MallocMessageBuilder written;
    tfs::wire::Write(record, written.initRoot<Schema>());
    Record again;
    tfs::wire::Read(written.getRoot<Schema>().asReader(), again);
    tfs::fuzz::Require(IsSame(record, again));
    if constexpr (requires { tfs::wire::EstimateSize(record); })
        (void)tfs::wire::EstimateSize(record);
}

using Conversion = void (*)(capnp::MessageReader&);
constexpr Conversion Conversions[] = {
    Convert<schema::Event, tfs::Event>,
    Convert<schema::EventFilter, tfs::EventFilter>,
    Convert<schema::EventQuery, tfs::EventQuery>,
    Convert<schema::SettingsChangeList, tfs::settings::SettingsChangeList>,
    Convert<schema::ValidationMessage, tfs::settings::ValidationMessage>,
    Convert<schema::Variant, ulk::types::variant_t>,
    Convert<schema::AppInfo, tfs::AppInfo>,
    Convert<schema::AppSettings, tfs::settings::AppSettings>,
    Convert<schema::ScanSettings, tfs::ScanSettings>,
    Convert<schema::TypedStruct, ulk::types::any_struct_t>,
    Convert<schema::ScanStatistic, tfs::ScanStatistic>,
    Convert<schema::OxsStatistic, tfs::OxsStatistic>,
    Convert<schema::TaskSchedule, tfs::TaskSchedule>,
    Convert<schema::TaskInfo, tfs::core::TaskInfo>,
    Convert<schema::EventQuery, tfs::EventQuery>,
    Convert<schema::SettingsChangeList, tfs::settings::SettingsChangeList>,
    Convert<schema::ValidationMessage, tfs::settings::ValidationMessage>,
    Convert<schema::UpdateSettings, tfs::UpdateSettings>,
    Convert<schema::TaskProgress, tfs::TaskProgress>,
    Convert<schema::BackupItem, tfs::BackupItemInfo>,
    Convert<schema::BackupSettings, tfs::settings::BackupSettings>,
};

} // namespace

void tfs::fuzz::Run(std::string_view input) {
    const Conversion convert = Conversions[TakeByte(input) % std::size(Conversions)];
    auto words = kj::heapArray<capnp::word>(input.size() / sizeof(capnp::word));
    if (words.size() != 0)
        std::memcpy(words.begin(), input.data(), words.asBytes().size());
    capnp::ReaderOptions options;
    options.traversalLimitInWords = TraversalLimit;
    try {
        capnp::FlatArrayMessageReader message(words, options);
        convert(message);
    } catch (const kj::Exception&) {
        // no message at all
    }
}
