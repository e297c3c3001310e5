// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/service_tracer.h>

#include <algorithm>
#include <new>
#include <unistd.h>

namespace tfs::service::app {
namespace {

constexpr char ModuleName[] = "instrumental_services";
constexpr char16_t LineFormat[] = u"%Y.%m.%d %X\t%I\t%p\t";
constexpr std::uint64_t MiB = 1024 * 1024;

} // namespace

/// Set once while there is one thread, read by all.
class ServiceTracer::TracerLocator final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IServiceLocator> {
public:
    void Set(ulk::Ptr<ulk::ITracer> tracer) noexcept { m_tracer = std::move(tracer); }

    result_t GetInterface(ulk::iid_t iid, std::uint32_t, void** out) noexcept override {
        *out = nullptr;
        return m_tracer ? m_tracer->QueryInterface(iid, out) : ulk::eNotFound;
    }

private:
    ulk::Ptr<ulk::ITracer> m_tracer;
};

ServiceTracer::ServiceTracer() : m_locator(ulk::Ptr<TracerLocator>::Adopt(new TracerLocator)) {}

// What it hands out lives in the module, which goes now.
ServiceTracer::~ServiceTracer() { m_locator->Set({}); }

ulk::Ptr<ulk::IServiceLocator> ServiceTracer::Locator() const noexcept {
    return ulk::Ptr<ulk::IServiceLocator>(m_locator.Get());
}

int TracerLevel(types::TraceLevel::Type level) noexcept {
    switch (level) {
    case types::TraceLevel::NotDetailed:
        return ulk::level::Failure;
    case types::TraceLevel::Detailed:
        return ulk::level::Detail;
    case types::TraceLevel::None:
        break;
    }
    return 0;
}

result_t ServiceTracer::Open(const std::string& libraryFolder, std::string& problem) {
    const auto folder = ulk::text::Cast<ulk::types::string16_t>(std::string_view(libraryFolder));
    m_modulePath = ulk::ModulePath(folder, ModuleName);
    result_t result = m_module.Load(m_modulePath);
    if (!ULK_SUCCEEDED(result)) {
        problem = m_module.ErrorText();
        return result;
    }
    ulk::Ptr<ulk::ITracer> tracer;
    void* made = nullptr;
    result = m_module.CreateObject(app_core::TracerClass, nullptr, ulk::ITracer::Iid, &made);
    if (ULK_SUCCEEDED(result)) {
        tracer = ulk::Ptr<ulk::ITracer>::Adopt(static_cast<ulk::ITracer*>(made));
        result = tracer->QueryInterface(app_core::ITracerConfigurator::Iid, &made);
    }
    if (!ULK_SUCCEEDED(result)) {
        problem = m_modulePath + ": " + std::string(ulk::ResultText(result));
        return result;
    }
    m_configurator = ulk::Ptr<app_core::ITracerConfigurator>::Adopt(static_cast<app_core::ITracerConfigurator*>(made));
    m_tracer = std::move(tracer);
    m_locator->Set(m_tracer);
    return result;
}

result_t ServiceTracer::Configure(const std::string& root, const tfs::settings::AppSettings& settings) noexcept {
    if (!m_configurator)
        return ulk::sOk;
    try {
        app_core::loader::TracerSettings tracer;
        tracer.level = TracerLevel(settings.traceLevel);
        tracer.enabled = tracer.level > 0;
        tracer.fileStem = ulk::text::ToUtf16Lossy("tesl-service." + std::to_string(::getpid()) + ".");
        tracer.folder = ulk::text::ToUtf16Lossy(root + settings.traceFolder);
        tracer.fileCount = std::max<std::uint32_t>(settings.traceMaxFileCount, 1);
        tracer.fileSizeLimit =
            std::min(settings.traceMaxFileSize * MiB, settings.traceFolderSizeLimit / tracer.fileCount);
        tracer.lineFormat = LineFormat;
        tracer.modulePath = ulk::text::ToUtf16Lossy(m_modulePath);
        return m_configurator->Configure(tracer);
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
}

} // namespace tfs::service::app
