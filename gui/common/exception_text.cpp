// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <foundation/trace.h>
#include <gui/common/application.h>
#include <gui/common/exception_text.h>

namespace tfs::gui {

std::string ExceptionText(const std::exception& exception) {
    const auto* const ours = dynamic_cast<const ulk::Exception*>(&exception);
    if (ours == nullptr)
        return exception.what();
    ulk::types::string16_t text(ours->Message());
    // Without a code the description is the message.
    if (dynamic_cast<const ulk::ResultCodeException*>(ours) != nullptr)
        ours->Describe(text);
    return text.empty() ? std::string(exception.what()) : ulk::text::ToUtf8Lossy(text);
}

void TraceCurrentException(const char* where) noexcept {
    try {
        try {
            throw;
        } catch (const ulk::CheckResultFailedException& e) {
            ULK_TRACE(application::GetTracer(), ulk::level::Failure)
                << where << ": " << e.File() << ':' << e.Line() << ": " << ExceptionText(e);
        } catch (const std::exception& e) {
            const std::string text = ExceptionText(e);
            ULK_TRACE(application::GetTracer(), ulk::level::Failure)
                << where << ": " << (text.empty() ? "unspecified error" : text);
        } catch (...) {
            ULK_TRACE(application::GetTracer(), ulk::level::Failure) << where << ": unspecified error";
        }
    } catch (...) {
        // Nothing is left to report with.
    }
}

} // namespace tfs::gui
