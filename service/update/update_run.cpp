// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/update_events.h>
#include <service/update/update_run.h>

#include <algorithm>
#include <fcntl.h>
#include <functional>
#include <utility>

namespace tfs::service::update {
namespace {

constexpr std::uint32_t FetchedPercent = 80;
constexpr std::uint32_t KeptPercent = 85;
constexpr std::size_t MostFiles = 20000;

/// Signature files of an open folder.
std::vector<std::string> SignatureFilesOf(const Descriptor& folder) {
    std::vector<std::string> names;
    if (!folder || ListFolder(folder.Get(), MostFiles, names) != 0)
        return {};
    std::erase_if(names, [](const std::string& name) { return !IsSignatureFile(name); });
    return names;
}

bool HoldSame(const std::string& oneFolder, const std::string& otherFolder, const std::function<bool()>& cancelled) {
    const Descriptor one = OpenFolder(AT_FDCWD, oneFolder.c_str());
    const Descriptor other = OpenFolder(AT_FDCWD, otherFolder.c_str());
    const std::vector<std::string> names = SignatureFilesOf(one);
    return names == SignatureFilesOf(other) && std::all_of(names.begin(), names.end(), [&](const std::string& name) {
               return SameContent(one.Get(), name, other.Get(), name, cancelled);
           });
}

} // namespace

void UpdateRun::Stop() noexcept {
    BasesTaskRun::Stop();
    const ulk::LockGuard lock(m_mutex);
    if (m_fetcher)
        m_fetcher->Stop();
}

bool UpdateRun::Accepts(const ulk::types::any_struct_t& settings, std::string& problem) {
    const auto* update = settings.Get<UpdateSettings>();
    std::vector<UpdateSource> sources;
    return update == nullptr || ULK_SUCCEEDED(SourcesOf(*update, sources, problem));
}

bool UpdateRun::Prepare() {
    if (const auto* settings = m_order.settings.Get<UpdateSettings>())
        m_settings = *settings;
    else if (!m_order.settings.empty())
        m_failure = "the settings aren't those of an update";
    return m_failure.empty() && ULK_SUCCEEDED(SourcesOf(m_settings, m_sources, m_failure));
}

Event UpdateRun::MakeFailure(const std::string& why) const {
    return MakeUpdateError(m_order.task, m_order.initiator, why);
}

BasesTaskRun::End UpdateRun::Work(SignatureSets& sets) {
    Progress(0);
    std::string folder;
    FetchResult fetched = FetchFromAny(sets, folder);
    if (fetched.end == FetchEnd::Stopped || IsStopped())
        return End::Stopped;
    if (fetched.end == FetchEnd::Failed)
        return Fail(std::move(fetched.why));
    Progress(FetchedPercent);
    const bool isSame = fetched.end == FetchEnd::NothingToUpdate ||
                        HoldSame(folder, sets.CurrentFolder(), [this] { return IsStopped(); });
    if (IsStopped())
        return End::Stopped;
    if (isSame) {
        sets.Discard();
        Progress(100);
        Publish(MakeNothingToUpdate(m_order.task, m_order.initiator));
        return End::Completed;
    }
    std::string problem;
    if (const result_t kept = sets.Keep(folder, problem); !ULK_SUCCEEDED(kept))
        return Fail(problem.empty() ? std::string(ulk::ResultText(kept)) : problem);
    Progress(KeptPercent);
    const End end = TakeIntoUse(sets, folder, [&sets](std::string& why) { return sets.Adopt(why); });
    if (end == End::Completed)
        TellSuccess();
    return end;
}

void UpdateRun::TellSuccess() {
    for (const std::string& file : m_files)
        Publish(MakeFileUpdateFinished(m_order.task, m_order.initiator, file));
    Publish(MakeBasesAttached(m_order.task, m_order.initiator));
}

FetchResult UpdateRun::FetchFromAny(SignatureSets& sets, std::string& folder) {
    std::string failures;
    for (const UpdateSource& source : m_sources) {
        if (IsStopped())
            return {FetchEnd::Stopped, {}};
        Publish(MakeUpdateSourceSelected(m_order.task, m_order.initiator, source.location));
        FetchResult result = Fetch(sets, source, folder);
        if (result.end != FetchEnd::Failed)
            return result;
        failures += (failures.empty() ? "" : "; ") + result.why;
    }
    return {FetchEnd::Failed, CleanLine(failures)};
}

FetchResult UpdateRun::Fetch(SignatureSets& sets, const UpdateSource& source, std::string& folder) {
    std::string problem;
    if (const result_t begun = sets.BeginNew(folder, problem); !ULK_SUCCEEDED(begun))
        return {FetchEnd::Failed, problem.empty() ? std::string(ulk::ResultText(begun)) : problem};
    SetFetcher* fetcher = nullptr;
    {
        const ulk::LockGuard lock(m_mutex);
        if (!m_fetcher)
            m_fetcher = std::make_unique<SetFetcher>(m_area.Config());
        fetcher = m_fetcher.get();
    }
    if (IsStopped())
        fetcher->Stop();
    m_files.clear();
    FetchObserver observer;
    observer.progress = [this](std::uint32_t percent) { Progress(percent * FetchedPercent / 100); };
    observer.tested = [this](const std::string& file) {
        Publish(MakeFileUpdateStarted(m_order.task, m_order.initiator, file));
    };
    observer.updated = [this](const std::string& file) {
        m_files.push_back(file);
        Publish(MakeModuleDownloaded(m_order.task, m_order.initiator, file));
    };
    return fetcher->Fetch(source, folder, m_settings.connectionTimeout, observer);
}

} // namespace tfs::service::update
