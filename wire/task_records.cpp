// SPDX-License-Identifier: GPL-2.0-or-later
#include <wire/task_records.h>
#include <wire/text.h>

namespace tfs::wire {
namespace {

capnp::uint Count(const std::vector<std::string>& texts) { return static_cast<capnp::uint>(texts.size()); }

void WriteTexts(const std::vector<std::string>& texts, capnp::List<capnp::Data>::Builder out) {
    for (std::size_t i = 0; i < texts.size(); ++i)
        out.set(static_cast<capnp::uint>(i), AsData(texts[i]));
}

void ReadTexts(capnp::List<capnp::Data>::Reader in, std::vector<std::string>& texts) {
    texts.clear();
    texts.reserve(in.size());
    for (const auto& text : in)
        texts.push_back(ReadBytes(text));
}

} // namespace

void WriteAccount(std::uint32_t uid, const ulk::types::string16_t& userName, schema::Account::Builder out) {
    out.setUid(uid);
    out.setUserName(AsData(userName));
}

void Write(const AppInfo& appInfo, schema::AppInfo::Builder out) {
    out.setAvBasesLoaded(appInfo.avBasesLoaded);
    out.setAvBasesDate(appInfo.avBasesDate);
    out.setLastUpdateTime(appInfo.lastUpdateTime);
    out.setLastMyCompScanTime(appInfo.lastMyCompScanTime);
    out.setApplicationUpdateState(static_cast<std::uint32_t>(appInfo.applicationUpdateState));
    out.setIsOASEnabled(appInfo.isOASEnabled);
    out.setCanRunProtection(appInfo.canRunProtection);
    out.setIsRollbackAvailable(appInfo.isRollbackAvailable);
    out.setAvRecordsCount(appInfo.avRecordsCount);
    out.setApplicationVersion(AsData(appInfo.applicationVersion));
    out.setEngineVersion(AsData(appInfo.engineVersion));
    out.setScannerWorkers(appInfo.scannerWorkers);
    out.setApplicationUpdateVersion(AsData(appInfo.applicationUpdateVersion));
    out.setSystemName(AsData(appInfo.systemName));
    out.setSystemVersion(AsData(appInfo.systemVersion));
}

void Read(schema::AppInfo::Reader in, AppInfo& appInfo) {
    appInfo.avBasesLoaded = in.getAvBasesLoaded();
    appInfo.avBasesDate = in.getAvBasesDate();
    appInfo.lastUpdateTime = in.getLastUpdateTime();
    appInfo.lastMyCompScanTime = in.getLastMyCompScanTime();
    appInfo.applicationUpdateState = static_cast<ApplicationUpdateState>(in.getApplicationUpdateState());
    appInfo.isOASEnabled = in.getIsOASEnabled();
    appInfo.canRunProtection = in.getCanRunProtection();
    appInfo.isRollbackAvailable = in.getIsRollbackAvailable();
    appInfo.avRecordsCount = in.getAvRecordsCount();
    ReadText(in.getApplicationVersion(), appInfo.applicationVersion);
    ReadText(in.getEngineVersion(), appInfo.engineVersion);
    appInfo.scannerWorkers = in.getScannerWorkers();
    ReadText(in.getApplicationUpdateVersion(), appInfo.applicationUpdateVersion);
    ReadText(in.getSystemName(), appInfo.systemName);
    ReadText(in.getSystemVersion(), appInfo.systemVersion);
}

void Write(const settings::AppSettings& settings, schema::AppSettings::Builder out) {
    out.setSambaConfigPath(AsData(settings.sambaConfigPath));
    out.setNfsExportsPath(AsData(settings.nfsExportsPath));
    out.setTraceFolder(AsData(settings.traceFolder));
    out.setTraceLevel(settings.traceLevel);
    out.setTraceMaxFileCount(settings.traceMaxFileCount);
    out.setTraceMaxFileSize(settings.traceMaxFileSize);
    out.setTraceFolderSizeLimit(settings.traceFolderSizeLimit);
    out.setEventsStoragePath(AsData(settings.eventsStoragePath));
    out.setMaxEventsNumber(settings.maxEventsNumber);
    out.setOfflineTsnStatsFolder(AsData(settings.offlineTsnStatsFolder));
    out.setUseTsn(settings.useTsn);
    out.setUiReportsForRootOnly(settings.uiReportsForRootOnly);
    out.setLimitNumberOfScanFileTasks(settings.limitNumberOfScanFileTasks);
    out.setUseSyslog(settings.useSyslog);
    out.setDaysToLive(settings.daysToLive);
    out.setBackupSizeLimit(settings.backupSizeLimit);
}

void Read(schema::AppSettings::Reader in, settings::AppSettings& settings) {
    settings.sambaConfigPath = ReadBytes(in.getSambaConfigPath());
    settings.nfsExportsPath = ReadBytes(in.getNfsExportsPath());
    settings.traceFolder = ReadBytes(in.getTraceFolder());
    settings.traceLevel = static_cast<types::TraceLevel::Type>(in.getTraceLevel());
    settings.traceMaxFileCount = in.getTraceMaxFileCount();
    settings.traceMaxFileSize = in.getTraceMaxFileSize();
    settings.traceFolderSizeLimit = in.getTraceFolderSizeLimit();
    settings.eventsStoragePath = ReadBytes(in.getEventsStoragePath());
    settings.maxEventsNumber = in.getMaxEventsNumber();
    settings.offlineTsnStatsFolder = ReadBytes(in.getOfflineTsnStatsFolder());
    settings.useTsn = static_cast<types::TsnUsage::Type>(in.getUseTsn());
    settings.uiReportsForRootOnly = in.getUiReportsForRootOnly();
    settings.limitNumberOfScanFileTasks = in.getLimitNumberOfScanFileTasks();
    settings.useSyslog = in.getUseSyslog();
    settings.daysToLive = in.getDaysToLive();
    settings.backupSizeLimit = in.getBackupSizeLimit();
}

void Write(const ScanSettings& settings, schema::ScanSettings::Builder out) {
    WriteTexts(settings.areas, out.initAreas(Count(settings.areas)));
    WriteTexts(settings.excludedPaths, out.initExcludedPaths(Count(settings.excludedPaths)));
    WriteTexts(settings.excludeMasks, out.initExcludeMasks(Count(settings.excludeMasks)));
    out.setScanArchives(settings.scanArchives);
    out.setMaxFileSize(settings.maxFileSize);
    out.setFileTimeLimitSeconds(settings.fileTimeLimitSeconds);
    out.setCrossFileSystems(settings.crossFileSystems);
    out.setActionOnThreat(settings.actionOnThreat);
    out.setFullSpeed(settings.fullSpeed);
}

void Read(schema::ScanSettings::Reader in, ScanSettings& settings) {
    ReadTexts(in.getAreas(), settings.areas);
    ReadTexts(in.getExcludedPaths(), settings.excludedPaths);
    ReadTexts(in.getExcludeMasks(), settings.excludeMasks);
    settings.scanArchives = in.getScanArchives();
    settings.maxFileSize = in.getMaxFileSize();
    settings.fileTimeLimitSeconds = in.getFileTimeLimitSeconds();
    settings.crossFileSystems = in.getCrossFileSystems();
    settings.actionOnThreat = static_cast<types::ThreatAction::Type>(in.getActionOnThreat());
    settings.fullSpeed = in.getFullSpeed();
}

void Write(const UpdateSettings& settings, schema::UpdateSettings::Builder out) {
    out.setSourceType(settings.sourceType);
    WriteTexts(settings.customSources, out.initCustomSources(Count(settings.customSources)));
    out.setUseOfficialWhenUnavailable(settings.useOfficialWhenUnavailable);
    out.setConnectionTimeout(settings.connectionTimeout);
    out.setUseProxy(settings.useProxy);
    out.setIgnoreProxyForOfficial(settings.ignoreProxyForOfficial);
    out.setIgnoreProxyForCustom(settings.ignoreProxyForCustom);
    out.setProxyServer(AsData(settings.proxyServer));
}

void Read(schema::UpdateSettings::Reader in, UpdateSettings& settings) {
    settings.sourceType = static_cast<types::UpdateSourceKind::Type>(in.getSourceType());
    ReadTexts(in.getCustomSources(), settings.customSources);
    settings.useOfficialWhenUnavailable = in.getUseOfficialWhenUnavailable();
    settings.connectionTimeout = in.getConnectionTimeout();
    settings.useProxy = in.getUseProxy();
    settings.ignoreProxyForOfficial = in.getIgnoreProxyForOfficial();
    settings.ignoreProxyForCustom = in.getIgnoreProxyForCustom();
    settings.proxyServer = ReadBytes(in.getProxyServer());
}

void Write(const ulk::types::any_struct_t& holder, schema::TypedStruct::Builder out) {
    if (const auto* scan = holder.Get<ScanSettings>())
        Write(*scan, out.initScanSettings());
    else if (const auto* app = holder.Get<settings::AppSettings>())
        Write(*app, out.initAppSettings());
    else if (const auto* update = holder.Get<UpdateSettings>())
        Write(*update, out.initUpdateSettings());
}

void Read(schema::TypedStruct::Reader in, ulk::types::any_struct_t& holder) {
    holder = {};
    if (in.isScanSettings()) {
        ScanSettings scan;
        Read(in.getScanSettings(), scan);
        holder.Set(std::move(scan));
    } else if (in.isAppSettings()) {
        settings::AppSettings app;
        Read(in.getAppSettings(), app);
        holder.Set(app);
    } else if (in.isUpdateSettings()) {
        UpdateSettings update;
        Read(in.getUpdateSettings(), update);
        holder.Set(std::move(update));
    }
}

void Write(const ScanStatistic& statistic, schema::ScanStatistic::Builder out) {
    out.setScannedObjects(statistic.scannedObjects);
    out.setThreatsFound(statistic.threatsFound);
    out.setInfectedObjects(statistic.infectedObjects);
    out.setSuspiciousObjects(statistic.suspiciousObjects);
    out.setCuredObjects(statistic.curedObjects);
    out.setBackedUpObjects(statistic.backedUpObjects);
    out.setDeletedObjects(statistic.deletedObjects);
    out.setNotCuredObjects(statistic.notCuredObjects);
    out.setScanErrors(statistic.scanErrors);
    out.setPasswordProtectedObjects(statistic.passwordProtectedObjects);
    out.setSkippedObjects(statistic.skippedObjects);
}

void Read(schema::ScanStatistic::Reader in, ScanStatistic& statistic) {
    statistic.scannedObjects = in.getScannedObjects();
    statistic.threatsFound = in.getThreatsFound();
    statistic.infectedObjects = in.getInfectedObjects();
    statistic.suspiciousObjects = in.getSuspiciousObjects();
    statistic.curedObjects = in.getCuredObjects();
    statistic.backedUpObjects = in.getBackedUpObjects();
    statistic.deletedObjects = in.getDeletedObjects();
    statistic.notCuredObjects = in.getNotCuredObjects();
    statistic.scanErrors = in.getScanErrors();
    statistic.passwordProtectedObjects = in.getPasswordProtectedObjects();
    statistic.skippedObjects = in.getSkippedObjects();
}

void Write(const OxsStatistic& statistic, schema::OxsStatistic::Builder out) {
    out.setTaskId(statistic.taskId);
    out.setTaskName(AsData(statistic.taskName));
    out.setTaskType(AsData(statistic.taskType));
    out.setIsTemporary(statistic.isTemporary);
    out.setStartTime(statistic.startTime);
    out.setFinishTime(statistic.finishTime);
    out.setScannedBytes(statistic.scannedBytes);
    Write(statistic.scan, out.initScan());
}

void Read(schema::OxsStatistic::Reader in, OxsStatistic& statistic) {
    statistic.taskId = in.getTaskId();
    ReadText(in.getTaskName(), statistic.taskName);
    ReadText(in.getTaskType(), statistic.taskType);
    statistic.isTemporary = in.getIsTemporary();
    statistic.startTime = in.getStartTime();
    statistic.finishTime = in.getFinishTime();
    statistic.scannedBytes = in.getScannedBytes();
    Read(in.getScan(), statistic.scan);
}

void Write(const TaskSchedule& schedule, schema::TaskSchedule::Builder out) {
    out.setMode(schedule.mode);
    out.setText(AsData(schedule.text));
    out.setFirstValue(schedule.firstValue);
    out.setSecondValue(schedule.secondValue);
    out.setFlag(schedule.flag);
}

void Read(schema::TaskSchedule::Reader in, TaskSchedule& schedule) {
    schedule.mode = in.getMode();
    ReadText(in.getText(), schedule.text);
    schedule.firstValue = in.getFirstValue();
    schedule.secondValue = in.getSecondValue();
    schedule.flag = in.getFlag();
}

void Write(const TaskProgress& progress, schema::TaskProgress::Builder out) {
    out.setPercent(progress.percent);
    if (progress.secondsLeft)
        out.getSecondsLeft().setKnown(*progress.secondsLeft);
}

void Read(schema::TaskProgress::Reader in, TaskProgress& progress) {
    progress.percent = in.getPercent();
    progress.secondsLeft.reset();
    if (const auto left = in.getSecondsLeft(); left.isKnown())
        progress.secondsLeft = left.getKnown();
}

void Write(const core::TaskInfo& task, schema::TaskInfo::Builder out) {
    out.setTaskId(task.taskId);
    out.setTaskName(AsData(task.taskName));
    out.setTaskType(AsData(task.taskType));
    out.setState(task.state);
    if (!task.settings.empty())
        Write(task.settings, out.initSettings());
    out.setIsTemporary(task.isTemporary);
    out.setStartTime(task.startTime);
    out.setStopTime(task.stopTime);
    if (task.owner)
        WriteAccount(task.owner->uid, task.owner->userName, out.initOwner().initPresent());
    out.setIsCentralKit(task.isCentralKit);
    out.setDisplayName(AsData(task.displayName));
    if (task.cannotBeDeleted)
        out.getCannotBeDeleted().setKnown(*task.cannotBeDeleted);
}

void Read(schema::TaskInfo::Reader in, core::TaskInfo& task) {
    task.taskId = in.getTaskId();
    ReadText(in.getTaskName(), task.taskName);
    ReadText(in.getTaskType(), task.taskType);
    task.state = static_cast<types::TaskState::Type>(in.getState());
    Read(in.getSettings(), task.settings);
    task.isTemporary = in.getIsTemporary();
    task.startTime = in.getStartTime();
    task.stopTime = in.getStopTime();
    task.owner.reset();
    if (const auto owner = in.getOwner(); owner.isPresent()) {
        const auto account = owner.getPresent();
        task.owner.emplace();
        task.owner->uid = account.getUid();
        ReadText(account.getUserName(), task.owner->userName);
    }
    task.isCentralKit = in.getIsCentralKit();
    ReadText(in.getDisplayName(), task.displayName);
    task.cannotBeDeleted.reset();
    if (const auto known = in.getCannotBeDeleted(); known.isKnown())
        task.cannotBeDeleted = known.getKnown();
}

} // namespace tfs::wire
