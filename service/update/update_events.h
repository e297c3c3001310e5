// SPDX-License-Identifier: GPL-2.0-or-later
// The events that updates and rollbacks publish, with their additional data in the order in which reports show them.
#pragma once

#include <contract/tfs/event.h>
#include <service/tasks/task_events.h>

#include <string>

namespace tfs::service::update {

using tasks::Initiator;
using tasks::TaskIdentity;

Event MakeUpdateSourceSelected(const TaskIdentity& task, const Initiator& initiator, const std::string& source);
Event MakeModuleDownloaded(const TaskIdentity& task, const Initiator& initiator, const std::string& module);
/// A file of signatures has come and is being tested.
Event MakeFileUpdateStarted(const TaskIdentity& task, const Initiator& initiator, const std::string& file);
/// The file is in use.
Event MakeFileUpdateFinished(const TaskIdentity& task, const Initiator& initiator, const std::string& file);
/// The new set is in use, with all of its files.
Event MakeBasesAttached(const TaskIdentity& task, const Initiator& initiator);
Event MakeNothingToUpdate(const TaskIdentity& task, const Initiator& initiator);
Event MakeUpdateError(const TaskIdentity& task, const Initiator& initiator, const std::string& reason);
/// A set of signatures doesn't load.
Event MakeBasesNotLoaded(const TaskIdentity& task, const Initiator& initiator, const std::string& why);
Event MakeRollbackCompleted(const TaskIdentity& task, const Initiator& initiator);
Event MakeRollbackError(const TaskIdentity& task, const Initiator& initiator, const std::string& reason);
/// For PublishProgress.
Event MakeUpdateProgress(const TaskIdentity& task, std::uint32_t percent);

} // namespace tfs::service::update
