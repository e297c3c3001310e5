// SPDX-License-Identifier: GPL-2.0-or-later
// Task, statistics and application records to and from the message. On the thread that owns the message. Broken text
// throws ulk::InvalidArgumentException, a broken message kj::Exception; the record is then half filled.
#pragma once

#include <contract/tfs/app_info.h>
#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>
#include <wire/tesl.capnp.h>

namespace tfs::wire {

void WriteAccount(std::uint32_t uid, const ulk::types::string16_t& userName, schema::Account::Builder out);

void Write(const AppInfo& appInfo, schema::AppInfo::Builder out);
void Read(schema::AppInfo::Reader in, AppInfo& appInfo);

void Write(const settings::AppSettings& settings, schema::AppSettings::Builder out);
void Read(schema::AppSettings::Reader in, settings::AppSettings& settings);

void Write(const ScanSettings& settings, schema::ScanSettings::Builder out);
void Read(schema::ScanSettings::Reader in, ScanSettings& settings);

void Write(const UpdateSettings& settings, schema::UpdateSettings::Builder out);
void Read(schema::UpdateSettings::Reader in, UpdateSettings& settings);

/// A structure of a type that the schema doesn't know is written as absent.
void Write(const ulk::types::any_struct_t& holder, schema::TypedStruct::Builder out);
void Read(schema::TypedStruct::Reader in, ulk::types::any_struct_t& holder);

void Write(const ScanStatistic& statistic, schema::ScanStatistic::Builder out);
void Read(schema::ScanStatistic::Reader in, ScanStatistic& statistic);

void Write(const OxsStatistic& statistic, schema::OxsStatistic::Builder out);
void Read(schema::OxsStatistic::Reader in, OxsStatistic& statistic);

void Write(const TaskSchedule& schedule, schema::TaskSchedule::Builder out);
void Read(schema::TaskSchedule::Reader in, TaskSchedule& schedule);

void Write(const TaskProgress& progress, schema::TaskProgress::Builder out);
void Read(schema::TaskProgress::Reader in, TaskProgress& progress);

void Write(const core::TaskInfo& task, schema::TaskInfo::Builder out);
void Read(schema::TaskInfo::Reader in, core::TaskInfo& task);

/// A whole list of any record above.
template <class Record, class ListReader>
void ReadList(ListReader in, std::vector<Record>& records) {
    records.clear();
    records.reserve(in.size());
    for (const auto& item : in)
        Read(item, records.emplace_back());
}

/// `out` was made with the size of `records`.
template <class Record, class ListBuilder>
void WriteList(const std::vector<Record>& records, ListBuilder out) {
    for (std::size_t i = 0; i < records.size(); ++i)
        Write(records[i], out[static_cast<capnp::uint>(i)]);
}

} // namespace tfs::wire
