// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/string16.h>
#include <platform/instrumental_services/escape.h>
#include <platform/instrumental_services/tracer.h>

#include <algorithm>
#include <ctime>
#include <new>
#include <typeinfo>
#include <unistd.h>

namespace platform::instrumental {
namespace {

constexpr std::size_t kPooledBuffers = 64;
constexpr std::size_t kPooledCapacity = 16 * 1024;
/// A hostile name of megabytes shall not turn the log over.
constexpr std::size_t kLongestText = 32 * 1024;

int CurrentThreadId() noexcept {
    thread_local const int id = ::gettid();
    return id;
}

} // namespace

ulk::TraceBuffer* Tracer::GetBuffer(int level, std::size_t size) noexcept {
    if (!IsEnabled(level))
        return nullptr;
    try {
        std::unique_ptr<ulk::TraceBuffer> buffer;
        {
            const ulk::LockGuard lock(m_poolMutex);
            if (!m_pool.empty()) {
                buffer = std::move(m_pool.back());
                m_pool.pop_back();
            }
        }
        if (!buffer)
            buffer = std::make_unique<ulk::TraceBuffer>();
        buffer->level = level;
        buffer->text.clear();
        buffer->text.reserve(std::min(size, kLongestText));
        return buffer.release();
    } catch (...) {
        return nullptr;
    }
}

void Tracer::Submit(ulk::TraceBuffer* submitted) noexcept {
    std::unique_ptr<ulk::TraceBuffer> buffer(submitted);
    if (!buffer)
        return;
    try {
        if (IsEnabled(buffer->level))
            WriteLine(*buffer);
    } catch (...) {
        // A line is lost; tracing never harms the program.
    }
    GiveBack(std::move(buffer));
}

void Tracer::WriteLine(const ulk::TraceBuffer& buffer) {
    const std::string_view text = std::string_view(buffer.text).substr(0, kLongestText);
    const ulk::LockGuard lock(m_mutex);
    m_line.clear();
    m_format.AppendPrefix(m_line, std::time(nullptr), CurrentThreadId(), buffer.level);
    AppendEscaped(m_line, text);
    if (text.size() < buffer.text.size())
        m_line += "...";
    m_line += '\n';
    m_log.Write(m_line);
}

void Tracer::GiveBack(std::unique_ptr<ulk::TraceBuffer> buffer) noexcept {
    if (buffer->text.capacity() > kPooledCapacity)
        return;
    try {
        const ulk::LockGuard lock(m_poolMutex);
        if (m_pool.size() < kPooledBuffers)
            m_pool.push_back(std::move(buffer));
    } catch (...) {
        // Not pooled, then.
    }
}

void Tracer::Flush() noexcept {
    const ulk::LockGuard lock(m_mutex);
    m_log.Flush();
}

result_t Tracer::Configure(const app_core::loader::TracerSettings& settings) noexcept {
    m_threshold.store(kSilent, std::memory_order_relaxed);
    try {
        const std::string folder = ulk::text::Cast<std::string>(settings.folder);
        const std::string stem = ulk::text::Cast<std::string>(settings.fileStem);
        const ulk::LockGuard lock(m_mutex);
        m_log.Close();
        m_format = LineFormat(ulk::text::Cast<std::string>(settings.lineFormat));
        if (!settings.enabled)
            return ulk::sOk;
        const result_t result = m_log.Open(folder, stem, settings.fileSizeLimit, settings.fileCount);
        if (ULK_SUCCEEDED(result))
            m_threshold.store(settings.level, std::memory_order_relaxed);
        return result;
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    } catch (const std::bad_cast&) {
        return ulk::eInvalidArgument;
    } catch (...) {
        return ulk::eUnspecified;
    }
}

} // namespace platform::instrumental
