// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/dispatcher.h>
#include <service/scan/scanner_service.h>

namespace tfs::service::scan {

ScannerService::ScannerService(ScannerConfig config, ulk::Ptr<ulk::ITracer> tracer)
    : m_impl(std::make_shared<Impl>(std::move(config), std::move(tracer))) {}

ScannerService::~ScannerService() { m_impl->Stop(); }

result_t ScannerService::Start() { return m_impl->Start(); }
void ScannerService::Stop() noexcept { m_impl->Stop(); }
result_t ScannerService::Replace(const std::string& basesFolder, const std::function<bool()>& cancelled,
                                 std::string& why) {
    return m_impl->Replace(basesFolder, cancelled, why);
}
ScannerState ScannerService::State() const { return m_impl->State(); }
void ScannerService::SetStateChanged(std::function<void()> changed) { m_impl->SetStateChanged(std::move(changed)); }

} // namespace tfs::service::scan
