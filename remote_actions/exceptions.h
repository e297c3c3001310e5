// SPDX-License-Identifier: GPL-2.0-or-later
// How a command fails. Each exception carries a text for the user in the language of the process.
#pragma once

#include <foundation/exceptions.h>

#include <string>
#include <string_view>

namespace tfs::remote_actions {

/// Root of the family.
class CommandException : public ulk::ExceptionBase<CommandException, ulk::Exception> {
public:
    static constexpr const char* ShortName = "CommandException";
    using ExceptionBase::ExceptionBase;
    /// The text as UTF-8.
    std::string Text() const { return ulk::text::ToUtf8Lossy(Message()); }
};

#define TFS_DECLARE_COMMAND_EXCEPTION(Name)                                                                            \
    class Name : public ulk::ExceptionBase<Name, CommandException> {                                                   \
    public:                                                                                                            \
        static constexpr const char* ShortName = #Name;                                                                \
        using ExceptionBase::ExceptionBase;                                                                            \
    }

TFS_DECLARE_COMMAND_EXCEPTION(InternalUlkException);
TFS_DECLARE_COMMAND_EXCEPTION(InvalidSettingsException);
TFS_DECLARE_COMMAND_EXCEPTION(SettingsBlockedByPolicyException);
TFS_DECLARE_COMMAND_EXCEPTION(TsnNotAcceptedException);
TFS_DECLARE_COMMAND_EXCEPTION(InvalidPathException);
TFS_DECLARE_COMMAND_EXCEPTION(InvalidSyntaxException);
TFS_DECLARE_COMMAND_EXCEPTION(InvalidTaskIdentifierException);

#undef TFS_DECLARE_COMMAND_EXCEPTION

/// The service answered with a code that says all there is to say.
class ActionInvalidResultException : public ulk::ExceptionBase<ActionInvalidResultException, CommandException> {
public:
    static constexpr const char* ShortName = "ActionInvalidResultException";
    ActionInvalidResultException(const char* file, std::int32_t line, result_t result) noexcept
        : ExceptionBase(file, line), m_result(result) {}
    result_t Result() const noexcept { return m_result; }

private:
    result_t m_result;
};

/// Throws an exception of the family with its text, in UTF-8. `arguments` go to its constructor behind file and line.
template <class Failure, class... Arguments>
[[noreturn]] void Throw(const char* file, std::int32_t line, std::string_view text, Arguments... arguments) {
    Failure failure(file, line, arguments...);
    failure.SetMessage(ulk::text::ToUtf16Lossy(text));
    throw failure;
}

} // namespace tfs::remote_actions
