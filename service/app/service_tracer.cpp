// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/app_core/tracer_service.h>
#include <service/app/service_tracer.h>

#include <unistd.h>

namespace tfs::service::app {
namespace {

constexpr char ModuleName[] = "instrumental_services";
constexpr char16_t LineFormat[] = u"%Y.%m.%d %X\t%I\t%p\t";

} // namespace

result_t ServiceTracer::Open(const std::string& libraryFolder, const std::string& logFolder, std::int32_t level,
                             std::string& problem) {
    const auto folder = ulk::text::Cast<ulk::types::string16_t>(std::string_view(libraryFolder));
    const std::string path = ulk::ModulePath(folder, ModuleName);
    result_t result = m_module.Load(path);
    if (!ULK_SUCCEEDED(result)) {
        problem = m_module.ErrorText();
        return result;
    }
    ulk::Ptr<ulk::ITracer> tracer;
    void* made = nullptr;
    result = m_module.CreateObject(app_core::TracerClass, nullptr, ulk::ITracer::Iid, &made);
    if (!ULK_SUCCEEDED(result)) {
        problem = path + ": " + std::string(ulk::ResultText(result));
        return result;
    }
    tracer = ulk::Ptr<ulk::ITracer>::Adopt(static_cast<ulk::ITracer*>(made));
    result = tracer->QueryInterface(app_core::ITracerConfigurator::Iid, &made);
    if (!ULK_SUCCEEDED(result)) {
        problem = path + ": " + std::string(ulk::ResultText(result));
        return result;
    }
    const auto configurator =
        ulk::Ptr<app_core::ITracerConfigurator>::Adopt(static_cast<app_core::ITracerConfigurator*>(made));
    app_core::loader::TracerSettings settings;
    settings.level = level;
    settings.enabled = level > 0;
    settings.fileStem = ulk::text::ToUtf16Lossy("tesl-service." + std::to_string(::getpid()) + ".");
    settings.folder = ulk::text::ToUtf16Lossy(logFolder);
    settings.lineFormat = LineFormat;
    settings.modulePath = ulk::text::ToUtf16Lossy(path);
    result = configurator->Configure(settings);
    if (!ULK_SUCCEEDED(result))
        problem = "no trace can be written in " + logFolder + ": " + std::string(ulk::ResultText(result));
    m_tracer = std::move(tracer);
    return result;
}

} // namespace tfs::service::app
