// SPDX-License-Identifier: GPL-2.0-or-later
// A tracer that keeps the lines it is given, each behind its level and a blank.
#pragma once

#include <foundation/sync.h>
#include <foundation/trace.h>

#include <algorithm>
#include <string>
#include <vector>

namespace test {

class RecordingTracer final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::ITracer> {
public:
    bool IsEnabled(int) const noexcept override { return true; }
    ulk::TraceBuffer* GetBuffer(int level, std::size_t) noexcept override { return new ulk::TraceBuffer{level, {}}; }
    void Submit(ulk::TraceBuffer* buffer) noexcept override {
        {
            const ulk::LockGuard lock(m_mutex);
            m_lines.push_back(std::to_string(buffer->level) + " " + buffer->text);
        }
        delete buffer;
    }
    void Flush() noexcept override {}

    std::vector<std::string> Lines() {
        const ulk::LockGuard lock(m_mutex);
        return m_lines;
    }
    bool Has(const std::string& part) {
        const auto lines = Lines();
        return std::any_of(lines.begin(), lines.end(),
                           [&](const auto& line) { return line.find(part) != std::string::npos; });
    }

private:
    ~RecordingTracer() override = default;

    ulk::Mutex m_mutex;
    std::vector<std::string> m_lines ULK_GUARDED_BY(m_mutex);
};

} // namespace test
