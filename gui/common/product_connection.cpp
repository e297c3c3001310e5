// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <gui/common/application.h>
#include <gui/common/certified_build.h>
#include <gui/common/exception_text.h>
#include <gui/common/localized_text.h>
#include <gui/common/product_connection.h>
#include <remote/remote_client_initializer.h>

#include <QtCore/QMutexLocker>
#include <QtCore/QThread>
#include <utility>

namespace tfs::gui {
namespace {

constexpr int PollIntervalMs = 1000;
/// How long the GUI thread waits for a connection that is being opened. A living service answers within a fraction of
/// it; a stopped one must not hold up the painting of the window.
constexpr auto OpeningPatience = std::chrono::milliseconds(200);
/// For this long a failed attempt answers whoever asks, so that a model that asks at each of its steps pays for one.
/// The poll tries anew each time.
constexpr auto FailureHolds = std::chrono::milliseconds(100);
/// The transport gives up after two seconds; the rest is for a busy machine.
constexpr auto AttemptLimit = std::chrono::milliseconds(2500);

} // namespace

ProductConnection::ProductConnection(QObject* parent) : QObject(parent), m_isCertifiedBuild(IsCertifiedBuild()) {
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
}

ProductConnection::~ProductConnection() {
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    {
        const QMutexLocker lock(&m_mutex);
        m_wasConnected = false;
    }
    try {
        m_lost();
    }
    GUI_CATCH_ALL
    m_lost.disconnect_all_slots();
    m_established.disconnect_all_slots();
    m_timer.reset();
    const QMutexLocker lock(&m_mutex);
    DropClient();
}

void ProductConnection::Start(ulk::IServiceLocator* localServiceLocator,
                              std::shared_ptr<const tfs::loader::ConfigData> config) {
    m_localServiceLocator = ulk::Ptr<ulk::IServiceLocator>(localServiceLocator);
    m_config = std::move(config);
    m_timer = std::make_unique<QTimer>(this);
    connect(m_timer.get(), &QTimer::timeout, this, &ProductConnection::onTimer);
    m_timer->start(PollIntervalMs);
    SetText(m_appIsUnavailableText, LocalizedText(tfs::localization::entry::GuiAppIsUnavailable),
            &ProductConnection::appIsUnavailableTextChanged);
    SetText(m_certifiedBuildText, LocalizedText(tfs::localization::entry::GuiCertifiedBuildError),
            &ProductConnection::certifiedBuildTextChanged);
}

bool ProductConnection::CheckConnection() {
    const QMutexLocker lock(&m_mutex);
    try {
        if (!m_remoteClient) {
            m_remoteServiceLocator.Reset();
            m_remoteClient = OpenClient();
        }
        if (ulk::IServiceLocator* const remote = m_remoteClient->GetRemoteServiceLocator()) {
            m_remoteServiceLocator = ulk::Ptr<ulk::IServiceLocator>(remote);
            return true;
        }
        ULK_TRACE(application::GetTracer(), ulk::level::Failure) << "Connection lost or can`t be established.";
    }
    GUI_CATCH_ALL
    DropClient();
    return false;
}

bool ProductConnection::IsGuiThread() const { return QThread::currentThread() == thread(); }

void ProductConnection::BeginAttempt() {
    m_attempt = std::async(std::launch::async, [local = m_localServiceLocator, config = m_config] {
        auto attempt = std::make_shared<Attempt>();
        attempt->client = std::make_unique<tfs::remote::UlkRemoteClientInitializer>(local.Get());
        attempt->result = attempt->client->Initialize(*config);
        return attempt;
    });
    m_attemptDeadline = std::chrono::steady_clock::now() + AttemptLimit;
}

void ProductConnection::AwaitAttempt() noexcept {
    try {
        AttemptResult attempt;
        std::chrono::steady_clock::time_point deadline;
        {
            const QMutexLocker lock(&m_mutex);
            // While a service is unreachable each of many events in hand would wait, and a page that goes for them all.
            if (m_remoteClient || m_hasLastAttemptFailed)
                return;
            if (!m_attempt.valid())
                BeginAttempt();
            attempt = m_attempt;
            deadline = m_attemptDeadline;
        }
        // Without the mutex, which the poll needs.
        attempt.wait_until(deadline);
    }
    GUI_CATCH_ALL
}

ProductConnection::Client ProductConnection::OpenClient() {
    if (!m_attempt.valid()) {
        BeginAttempt();
        if (IsGuiThread())
            m_attempt.wait_for(OpeningPatience);
    }
    if (m_attempt.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        ulk::check::Throw(__FILE__, __LINE__, ulk::eNotReady, "Cannot connect to service");
    // Left empty for the next attempt, also where get() throws what the client's constructor threw.
    const AttemptResult done = std::exchange(m_attempt, AttemptResult());
    m_hasLastAttemptFailed = true;
    m_lastAttemptEnd = std::chrono::steady_clock::now();
    Attempt& attempt = *done.get();
    ULK_CHECK_THROW(attempt.result, "Cannot connect to service");
    m_hasLastAttemptFailed = false;
    return std::move(attempt.client);
}

void ProductConnection::DropClient() noexcept {
    m_wasClientDropped = m_wasClientDropped || m_wasConnected;
    m_remoteServiceLocator.Reset();
    m_remoteClient.reset();
}

ulk::IServiceLocator* ProductConnection::GetRemoteServiceLocator() {
    ULK_TRACE(application::GetTracer(), ulk::level::Finest) << __PRETTY_FUNCTION__;
    const QMutexLocker lock(&m_mutex);
    const bool hasJustFailed =
        m_hasLastAttemptFailed && std::chrono::steady_clock::now() - m_lastAttemptEnd < FailureHolds;
    if (m_remoteClient || !hasJustFailed)
        CheckConnection();
    return m_remoteServiceLocator.Get();
}

ulk::Ptr<ulk::IServiceLocator> ProductConnection::AcquireRemoteServiceLocator() {
    if (!IsGuiThread())
        AwaitAttempt();
    const QMutexLocker lock(&m_mutex);
    return ulk::Ptr<ulk::IServiceLocator>(GetRemoteServiceLocator());
}

std::pair<bool, bool> ProductConnection::Poll() {
    const QMutexLocker lock(&m_mutex);
    const bool isThere = CheckConnection();
    // A connection that was replaced between two polls is a loss first; the next poll finds the new one.
    const bool connected = !std::exchange(m_wasClientDropped, false) && isThere;
    return {connected, std::exchange(m_wasConnected, connected)};
}

void ProductConnection::onTimer() {
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    try {
        const auto [connected, wasConnected] = Poll();
        if (connected && !wasConnected) {
            ULK_TRACE(application::GetTracer(), ulk::level::Notable) << "Established connection with product";
            SetConnected(true);
            SetCertifiedBuild(false);
            m_established();
        } else if (connected) {
            ULK_TRACE(application::GetTracer(), ulk::level::Detail) << "Connection with product successfully checked";
        } else if (wasConnected) {
            ULK_TRACE(application::GetTracer(), ulk::level::Failure) << "Connection to service lost!";
            SetConnected(false);
            SetCertifiedBuild(IsCertifiedBuild());
            m_lost();
        } else {
            ULK_TRACE(application::GetTracer(), ulk::level::Detail) << "Still no connection to product service.";
        }
    }
    GUI_CATCH_ALL
}

void ProductConnection::SetConnected(bool connected) {
    if (m_isConnectedToProduct == connected)
        return;
    m_isConnectedToProduct = connected;
    Q_EMIT isConnectedToProductChanged();
}

void ProductConnection::SetCertifiedBuild(bool certified) {
    if (m_isCertifiedBuild == certified)
        return;
    m_isCertifiedBuild = certified;
    Q_EMIT isCertifiedBuildChanged();
}

void ProductConnection::SetText(QString& field, const QString& text, void (ProductConnection::*changed)()) {
    if (field == text)
        return;
    field = text;
    Q_EMIT(this->*changed)();
}

} // namespace tfs::gui
