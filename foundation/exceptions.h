// SPDX-License-Identifier: GPL-2.0-or-later
// The exceptions of the framework. Each carries the place of the failure and a UTF-16 message.
#pragma once

#include <foundation/object.h>
#include <foundation/result.h>
#include <foundation/string16.h>

#include <cstdint>
#include <exception>
#include <memory>

namespace ulk {

class Exception;

/// Gives each class its clone and rethrow operations and its short name.
template <class Derived, class Base>
class ExceptionBase : public Base {
public:
    using Base::Base;
    const char* what() const noexcept override { return Derived::ShortName; }
    [[noreturn]] void Rethrow() const override { throw Derived(static_cast<const Derived&>(*this)); }
    Exception* Clone() const override { return new Derived(static_cast<const Derived&>(*this)); }
};

/// Form for the root of a family: brings the operations in, in the order of their slots, and leaves `what` to the
/// standard's class.
template <class Derived>
class ExceptionBase<Derived, std::exception> : public std::exception {
public:
    /// Appends what the class knows beside the message to the text in hand.
    virtual void Describe(types::string16_t& text) const = 0;
    /// Throws a copy of the object.
    [[noreturn]] virtual void Rethrow() const { throw Derived(static_cast<const Derived&>(*this)); }
    /// A copy on the heap; the caller owns it.
    virtual Derived* Clone() const { return new Derived(static_cast<const Derived&>(*this)); }
};

/// Root of the family. Copied together with its nested exception.
class Exception : public ExceptionBase<Exception, std::exception> {
public:
    Exception() noexcept = default;
    Exception(const char* file, std::int32_t line, std::int32_t value = 0) noexcept
        : m_file(file), m_line(line), m_value(value) {}
    Exception(const Exception& other);
    Exception(Exception&&) noexcept = default;
    Exception& operator=(const Exception& other);
    Exception& operator=(Exception&&) noexcept = default;
    ~Exception() override;

    /// Appends nothing: the message is the text that a caller begins with.
    void Describe(types::string16_t& text) const override;

    const char* File() const noexcept { return m_file; }
    std::int32_t Line() const noexcept { return m_line; }
    std::int32_t Value() const noexcept { return m_value; }
    const types::string16_t& Message() const noexcept { return m_message; }
    void SetMessage(types::string16_t message) { m_message = std::move(message); }
    const Exception* Inner() const noexcept { return m_inner.get(); }
    void SetInner(const Exception& inner) { m_inner.reset(inner.Clone()); }

private:
    const char* m_file = "";
    std::int32_t m_line = 0;
    std::int32_t m_value = 0;
    types::string16_t m_message;
    std::unique_ptr<Exception> m_inner;
};

class ResultCodeException : public ExceptionBase<ResultCodeException, Exception> {
public:
    static constexpr const char* ShortName = "ResultCodeException";
    ResultCodeException(const char* file, std::int32_t line, result_t code) noexcept
        : ExceptionBase(file, line), m_code(code) {}
    /// Appends "0x" code " (" text ")", after ": " where the text isn't empty.
    void Describe(types::string16_t& text) const override;
    result_t Code() const noexcept { return m_code; }

private:
    result_t m_code;
};

#define ULK_DECLARE_EXCEPTION(Name, Base)                                                                              \
    class Name : public ExceptionBase<Name, Base> {                                                                    \
    public:                                                                                                            \
        static constexpr const char* ShortName = #Name;                                                                \
        using ExceptionBase::ExceptionBase;                                                                            \
    }

ULK_DECLARE_EXCEPTION(CheckResultFailedException, ResultCodeException);
ULK_DECLARE_EXCEPTION(SystemException, ResultCodeException);
ULK_DECLARE_EXCEPTION(InvalidArgumentException, ResultCodeException);
ULK_DECLARE_EXCEPTION(RuntimeError, Exception);
ULK_DECLARE_EXCEPTION(CheckFailedException, Exception);

/// A lookup that failed; tells which interface was looked for.
class GetInterfaceException : public ExceptionBase<GetInterfaceException, ResultCodeException> {
public:
    static constexpr const char* ShortName = "GetInterfaceException";
    GetInterfaceException(const char* file, std::int32_t line, result_t code, iid_t iid) noexcept
        : ExceptionBase(file, line, code), m_iid(iid) {}
    /// Appends "iid:" and the identifier.
    void Describe(types::string16_t& text) const override;
    iid_t InterfaceId() const noexcept { return m_iid; }

private:
    iid_t m_iid;
};

namespace contract {
class Exception : public ExceptionBase<Exception, ulk::Exception> {
public:
    static constexpr const char* ShortName = "Exception";
    using ExceptionBase::ExceptionBase;
};
ULK_DECLARE_EXCEPTION(RequireViolation, Exception);
ULK_DECLARE_EXCEPTION(InvariantViolation, Exception);
ULK_DECLARE_EXCEPTION(EnsureViolation, Exception);
} // namespace contract

#undef ULK_DECLARE_EXCEPTION

} // namespace ulk
