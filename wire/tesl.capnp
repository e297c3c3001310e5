# SPDX-License-Identifier: GPL-2.0-or-later
@0xee5eb02d60b7a585;
# What passes between the service and its clients. One interface for each C++ interface of contract/, one struct for
# each record, in the same order of fields.
#
# Every method answers with `result`, the code of the call, beside its payload; the payload counts only where the code
# is not negative. An answer too large for a client comes as an exception (overloaded) whose text ends with "the answer
# is larger than a client takes". Text is UTF-16 in little-endian code units (`Text16`), because names of files and
# users need not be valid Unicode; paths and narrow texts are bytes. Numbers of the value tables travel as they are.

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("tfs::wire::schema");

using Text16 = Data;
using Code = Int32;

# ---- Records

struct Variant {
  union {
    empty @0 :Void;
    boolean @1 :Bool;
    int32 @2 :Int32;
    int64 @3 :Int64;
    uint32 @4 :UInt32;
    uint64 @5 :UInt64;
    dateTime @6 :Int64;      # 100 ns units since 1601-01-01 UTC
    text @7 :Data;
    text16 @8 :Text16;
    vector @9 :List(Variant);
  }
}

struct Account {
  uid @0 :UInt32;
  userName @1 :Text16;
}

struct OptionalAccount {
  union {
    absent @0 :Void;
    present @1 :Account;
  }
}

struct Event {
  id @0 :Int64;
  type @1 :Int32;
  severity @2 :Int32;
  initiator @3 :Int32;
  initiatorUser @4 :OptionalAccount;
  time @5 :Int64;            # seconds since 1970-01-01 UTC
  additional @6 :List(Additional);

  struct Additional {
    name @0 :Int32;
    value @1 :Variant;
    hidden @2 :UInt8;
  }
}

struct EventFilter {
  eventTypes @0 :List(UInt32);
  excludedEventTypes @1 :List(UInt32);
  taskTypes @2 :List(Text16);
}

struct AppInfo {
  avBasesLoaded @0 :Bool;
  avBasesDate @1 :Int64;
  lastUpdateTime @2 :Int64;
  lastMyCompScanTime @3 :Int64;
  applicationUpdateState @4 :UInt32;
  isOASEnabled @5 :Bool;
  canRunProtection @6 :Bool;
  isRollbackAvailable @7 :Bool;
  avRecordsCount @8 :UInt64;
  applicationVersion @9 :Text16;
  engineVersion @10 :Text16;
  scannerWorkers @11 :UInt32;
  applicationUpdateVersion @12 :Text16;
  systemName @13 :Text16;
  systemVersion @14 :Text16;
}

struct AppSettings {
  sambaConfigPath @0 :Data;
  nfsExportsPath @1 :Data;
  traceFolder @2 :Data;
  traceLevel @3 :Int32;
  traceMaxFileCount @4 :UInt32;
  traceMaxFileSize @5 :UInt32;       # MiB
  traceFolderSizeLimit @6 :UInt64;   # bytes
  eventsStoragePath @7 :Data;
  maxEventsNumber @8 :UInt32;
  offlineTsnStatsFolder @9 :Data;
  useTsn @10 :Int32;
  uiReportsForRootOnly @11 :Bool;
  limitNumberOfScanFileTasks @12 :UInt32;
  useSyslog @13 :Bool;
  daysToLive @14 :UInt32;
  backupSizeLimit @15 :UInt32;       # MiB
}

struct SettingsChangeList {
  typeNumber @0 :UInt32;
  items @1 :List(Item);
  allowEmpty @2 :Bool;

  struct Item {
    key @0 :Data;
    value @1 :Data;
  }
}

struct ValidationMessage {
  textKey @0 :Data;
  arguments @1 :List(Text16);
}

struct EventQuery {
  filters @0 :List(Clause);
  limit @1 :UInt32;
  offset @2 :UInt32;
  orderBy @3 :Text16;

  struct Clause {
    field @0 :Text16;
    operation @1 :Text16;
    value @2 :Variant;
    logic @3 :Text16;
  }
}

struct EventCursor {
  # Where a query's answer goes on. All zero for its first page, then what came with the page before.
  lastId @0 :Int64;
  upToId @1 :Int64;          # events published since the first page stay out
  toSkip @2 :UInt32;         # what is left of the query's offset
}

struct BackupItem {
  id @0 :UInt64;
  objectName @1 :Text16;
  dangerLevel @2 :UInt32;
  detectName @3 :Data;
  addedTime @4 :Int64;       # 100 ns units since 1601-01-01 UTC
  fileSize @5 :UInt64;
}

struct BackupSettings {
  storageDays @0 :UInt32;
  sizeLimitMb @1 :UInt32;
}

struct ScanSettings {
  areas @0 :List(Data);
  excludedPaths @1 :List(Data);
  excludeMasks @2 :List(Data);
  scanArchives @3 :Bool = true;
  maxFileSize @4 :UInt64;
  fileTimeLimitSeconds @5 :UInt32;
  crossFileSystems @6 :Bool = true;
  actionOnThreat @7 :Int32 = 3;
  fullSpeed @8 :Bool;
}

struct UpdateSettings {
  sourceType @0 :Int32;
  customSources @1 :List(Data);
  useOfficialWhenUnavailable @2 :Bool;
  connectionTimeout @3 :UInt32;
  useProxy @4 :Bool;
  ignoreProxyForOfficial @5 :Bool;
  ignoreProxyForCustom @6 :Bool;
  proxyServer @7 :Data;
}

struct TypedStruct {
  union {
    absent @0 :Void;
    scanSettings @1 :ScanSettings;
    appSettings @2 :AppSettings;
    updateSettings @3 :UpdateSettings;
  }
}

struct ScanStatistic {
  scannedObjects @0 :UInt64;
  threatsFound @1 :UInt64;
  infectedObjects @2 :UInt64;
  suspiciousObjects @3 :UInt64;
  curedObjects @4 :UInt64;
  backedUpObjects @5 :UInt64;
  deletedObjects @6 :UInt64;
  notCuredObjects @7 :UInt64;
  scanErrors @8 :UInt64;
  passwordProtectedObjects @9 :UInt64;
  skippedObjects @10 :UInt64;
}

struct OxsStatistic {
  taskId @0 :UInt64;
  taskName @1 :Text16;
  taskType @2 :Text16;
  isTemporary @3 :Bool;
  startTime @4 :Int64;
  finishTime @5 :Int64;
  scannedBytes @6 :UInt64;
  scan @7 :ScanStatistic;
}

struct TaskSchedule {
  mode @0 :UInt32;
  text @1 :Text16;
  firstValue @2 :Int64;
  secondValue @3 :Int64;
  flag @4 :UInt8;
}

struct TaskProgress {
  percent @0 :UInt32;
  secondsLeft :union {
    unknown @1 :Void;
    known @2 :UInt32;
  }
}

struct TaskInfo {
  taskId @0 :UInt64;
  taskName @1 :Text16;
  taskType @2 :Text16;
  state @3 :Int32;
  settings @4 :TypedStruct;
  isTemporary @5 :Bool;
  startTime @6 :Int64;
  stopTime @7 :Int64;
  owner @8 :OptionalAccount;
  isCentralKit @9 :UInt32;
  displayName @10 :Text16;
  cannotBeDeleted :union {
    unknown @11 :Void;
    known @12 :Bool;
  }
}

# ---- Interfaces

interface Locator {
  # The bootstrap capability. It belongs to one connection and knows that connection's user.

  hello @0 (version :UInt32, program :Data) -> (result :Code, version :UInt32);
  # The first call. Both sides refuse a version that is not their own.

  ping @1 () -> (result :Code);

  getInterface @2 (id :UInt32) -> (result :Code, object :Capability);
  # The interface of that identifier; answers with its number only after a good `hello`.
}

interface AppInfoProvider {
  getAppInfo @0 () -> (result :Code, appInfo :AppInfo);
}

interface AppSettingsHandler {
  getAppSettings @0 () -> (result :Code, settings :AppSettings);
  setAppSettings @1 (changes :SettingsChangeList, acceptTsn :Bool)
      -> (result :Code, messages :List(ValidationMessage));
  # The messages count with every code.
}

interface PolicyProvider {
  canBeStarted @0 (taskName :Text16) -> (result :Code, allowed :Bool);
  canBeStopped @1 (taskName :Text16) -> (result :Code, allowed :Bool);
  isUserManageTasksAllowed @2 () -> (result :Code, localTasks :Bool, groupTasks :Bool);
}

interface PolicyManager {
  getPolicy @0 () -> (result :Code, name :Text16);
}

interface TaskManager {
  getTaskList @0 () -> (result :Code, tasks :List(TaskInfo));
  getStatistics @1 () -> (result :Code, statistics :List(OxsStatistic));
  getStatistic @2 (taskName :Text16) -> (result :Code, statistic :OxsStatistic);
  getOdsStatistics @3 () -> (result :Code, statistic :ScanStatistic);
  startTask @4 (task :Text16) -> (result :Code);
  stopTask @5 (task :Text16) -> (result :Code);
  pauseTask @6 (task :Text16) -> (result :Code);
  resumeTask @7 (task :Text16) -> (result :Code);
  deleteTask @8 (task :Text16) -> (result :Code);
  deleteStatistic @9 (statistic :OxsStatistic) -> (result :Code);
  getSchedule @10 (taskName :Text16) -> (result :Code, schedule :TaskSchedule);
  getTaskInfo @11 (task :Text16) -> (result :Code, info :TaskInfo);
  createScanTask @12 (settings :ScanSettings) -> (result :Code, info :TaskInfo);
  getProgress @13 (task :Text16) -> (result :Code, progress :TaskProgress);
  getTaskSettings @14 (task :Text16) -> (result :Code, settings :SettingsChangeList);
  setTaskSettings @15 (task :Text16, changes :SettingsChangeList, toDefault :Bool)
      -> (result :Code, messages :List(ValidationMessage));
  # Here and below the messages count with every code.

  setSchedule @16 (task :Text16, changes :SettingsChangeList, toDefault :Bool)
      -> (result :Code, messages :List(ValidationMessage));
}

interface EventStorer {
  getEventCount @0 () -> (result :Code, count :UInt64);
  getOldestEvent @1 () -> (result :Code, event :Event);
  getEvent @2 (id :Int64) -> (result :Code, event :Event);
  queryEvents @3 (query :EventQuery, cursor :EventCursor)
      -> (result :Code, events :List(Event), cursor :EventCursor, more :Bool);
  # One page, of at most `limit` events and of a size that suits a message. Where `more` is set the answer goes on: the
  # client asks again with the cursor of the page and the rest of its limit.
}

interface BackupManager {
  query @0 (filter :List(EventQuery.Clause), fromId :UInt64)
      -> (result :Code, items :List(BackupItem), more :Bool);
  # One page, ascending by id, of a size that suits a message: the objects that pass and whose id isn't below `fromId`.
  # Where `more` is set the answer goes on behind the page's last id.

  remove @1 (filter :List(EventQuery.Clause)) -> (result :Code);
  # No clause: all objects. This one and the next answer when the work is done, which may take minutes; meanwhile other
  # calls of the connection are answered.

  restore @2 (id :UInt64) -> (result :Code);
}

interface BackupConfigurator {
  getSettings @0 () -> (result :Code, settings :BackupSettings);
}

interface EventReceiver {
  # Passed by the client.

  onEvents @0 (events :List(Event)) -> stream;
  # In order, each once. The service has one window of these under way and waits for the rest.
}

interface EventSubscription {
  # Dropping it ends the subscription as well.

  cancel @0 () -> (result :Code);
}

interface EventSubscriber {
  subscribe @0 (receiver :EventReceiver, filter :EventFilter, name :Text16)
      -> (result :Code, subscription :EventSubscription);
}
