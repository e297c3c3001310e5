// SPDX-License-Identifier: GPL-2.0-or-later
// Every method that isn't for everybody, called over the socket by somebody it isn't for.
#include <service/app/service_app.h>
#include <service/rpc/method.h>
#include <tests/unit/remoting/library_client.h>
#include <tests/unit/service/service_fixture.h>
#include <wire/event_records.h>
#include <wire/task_records.h>

#include <capnp/dynamic.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace tfs::service::app {
namespace {

namespace schema = wire::schema;
using rpc::Method;
using rpc::Privilege;
using test::LibraryClient;
using tests::Eventually;
using tests::TempFolder;

constexpr uid_t Nobody = 65534;
constexpr uid_t SomebodyElse = 4'000'000'001u;

struct RemoteInterface {
    ulk::iid_t iid;
    capnp::InterfaceSchema schema;
};

std::map<std::uint64_t, RemoteInterface> Interfaces() {
    return {
        {capnp::typeId<schema::AppInfoProvider>(),
         {IAppInfoProvider::Iid, capnp::Schema::from<schema::AppInfoProvider>()}},
        {capnp::typeId<schema::AppSettingsHandler>(),
         {IAppSettingsHandler::Iid, capnp::Schema::from<schema::AppSettingsHandler>()}},
        {capnp::typeId<schema::PolicyProvider>(),
         {IPolicyProvider::Iid, capnp::Schema::from<schema::PolicyProvider>()}},
        {capnp::typeId<schema::PolicyManager>(), {IPolicyManager::Iid, capnp::Schema::from<schema::PolicyManager>()}},
        {capnp::typeId<schema::TaskManager>(), {ITfsTaskManager::Iid, capnp::Schema::from<schema::TaskManager>()}},
        {capnp::typeId<schema::BackupManager>(),
         {ITfstBackupManager::Iid, capnp::Schema::from<schema::BackupManager>()}},
        {capnp::typeId<schema::EventStorer>(), {IEventStorer::Iid, capnp::Schema::from<schema::EventStorer>()}},
        {capnp::typeId<schema::EventSubscriber>(),
         {IEventSubscriber::Iid, capnp::Schema::from<schema::EventSubscriber>()}}};
}

/// The objects of one user that the calls are about.
struct Belongings {
    core::TaskInfo task;
    OxsStatistic statistic; ///< of another task, which has run

    BackupId object = 0; ///< in Storage

    Belongings(ServiceApp& service, uid_t uid, const TempFolder& folder) {
        rpc::IServiceApi& api = service.Api();
        const rpc::Caller owner{uid, false, 0};
        Store(service.Keeper(), uid, folder.Write("found", "a threat"));
        core::TaskInfo ran;
        EXPECT_EQ(api.CreateScanTask(owner, ScanSettings{{"/"}}, ran), ulk::sOk);
        EXPECT_EQ(api.StartTask(owner, std::u16string(std::u16string_view(ran.taskName))), ulk::sOk);
        EXPECT_TRUE(Eventually([&] {
            return api.GetStatistic(std::u16string(std::u16string_view(ran.taskName)), statistic) == ulk::sOk &&
                   statistic.finishTime != 0;
        }));
        EXPECT_EQ(api.CreateScanTask(owner, ScanSettings{{"/"}}, task), ulk::sOk);
    }

    /// Only root can make a file another user's; elsewhere the object is the caller's own.
    void Store(storage::IObjectKeeper& keeper, uid_t uid, const std::string& path) {
        if (::geteuid() == 0) {
            EXPECT_EQ(::chown(path.c_str(), uid, uid), 0);
        }
        const scanner::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        std::string why;
        storage::FoundObject found;
        found.file = file.Get();
        found.path = path;
        EXPECT_EQ(keeper.Take(found, object, why), ulk::sOk) << why;
    }

    /// Puts them into whatever names a task, a statistic or an object.
    void FillIn(capnp::DynamicStruct::Builder params) const {
        for (const auto field : params.getSchema().getFields()) {
            const kj::StringPtr name = field.getProto().getName();
            if (name == "task" || name == "taskName")
                params.set(field, wire::AsData(std::u16string_view(task.taskName)));
            else if (name == "id")
                params.set(field, object);
            else if (name == "filter")
                wire::WriteList(
                    {{u"ObjectId", u"==", object}},
                    params.init(field, 1).as<capnp::DynamicList>().as<capnp::List<schema::EventQuery::Clause>>());
            else if (name == "statistic")
                wire::Write(statistic, params.init(field).as<capnp::DynamicStruct>().as<schema::OxsStatistic>());
        }
    }
};

/// Calls each method that isn't for everybody; the answers by name.
std::map<std::string, result_t> CallGuardedMethods(LibraryClient& client, const Belongings& belongings) {
    const auto interfaces = Interfaces();
    std::map<std::string, result_t> answers;
    for (const auto table : rpc::AllMethodTables())
        for (const Method& method : table) {
            if (method.Needs() == Privilege::Anyone)
                continue;
            const auto known = interfaces.find(method.InterfaceId());
            if (known == interfaces.end()) {
                ADD_FAILURE() << method.Name() << " belongs to an interface that this test doesn't know";
                continue;
            }
            const auto& [iid, interface] = known->second;
            auto request = client.Get(iid).castAs<capnp::DynamicCapability>(interface).newRequest(
                interface.getMethods()[method.Ordinal()]);
            belongings.FillIn(request);
            answers[method.Name()] = request.send().wait(client.Scope()).get("result").as<result_t>();
        }
    return answers;
}

class StrangerTest : public testing::Test {
protected:
    StrangerTest() {
        ::chmod(folder.Path().c_str(), 0755);
        std::string problem;
        EXPECT_EQ(service.Start(problem), ulk::sOk) << problem;
    }
    /// The test's own user where he is an ordinary one.
    uid_t Caller() const { return ::geteuid() == 0 ? Nobody : ::geteuid(); }
    /// On a thread, because the effective user is changed for the calling thread alone.
    std::map<std::string, result_t> CallOnBelongingsOf(uid_t owner) {
        const Belongings belongings(service, owner, folder);
        std::map<std::string, result_t> answers;
        std::thread([&] {
            if (::geteuid() == 0) {
                ASSERT_EQ(::syscall(SYS_setresuid, -1, Nobody, -1), 0);
            }
            LibraryClient client(paths.socket);
            answers = CallGuardedMethods(client, belongings);
        }).join();
        return answers;
    }

    const TempFolder folder;
    const ServicePaths paths = PathsIn(folder);
    ServiceApp service{paths, {}};
};

TEST_F(StrangerTest, NoMethodThatIsGuardedServesAStranger) {
    const auto answers = CallOnBelongingsOf(SomebodyElse);
    EXPECT_GE(answers.size(), 6u);
    for (const auto& [method, answer] : answers)
        EXPECT_EQ(answer, ulk::eAccessDenied) << method << ": " << ulk::ResultText(answer);
}

TEST_F(StrangerTest, MethodsOfTheOwnerServeHim) {
    std::set<std::string> ownersMethods;
    for (const auto table : rpc::AllMethodTables())
        for (const Method& method : table)
            if (method.Needs() == Privilege::Owner)
                ownersMethods.insert(method.Name());
    for (const auto& [method, answer] : CallOnBelongingsOf(Caller()))
        EXPECT_TRUE(answer != ulk::eAccessDenied || ownersMethods.count(method) == 0) << method;
}

} // namespace
} // namespace tfs::service::app
