// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <foundation/exceptions.h>

#include <cstring>
#include <exception>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace ulk {
namespace {

types::string16_t Description(const Exception& e, const char16_t* before = u"") {
    types::string16_t text(before);
    e.Describe(text);
    return text;
}

TEST(Exceptions, WhatIsTheNameOfTheClassAndOfTheStandardInTheBase) {
    EXPECT_STREQ(Exception().what(), std::exception().what());
    EXPECT_STREQ(ResultCodeException("f", 1, 0).what(), "ResultCodeException");
    EXPECT_STREQ(CheckResultFailedException("f", 1, 0).what(), "CheckResultFailedException");
    EXPECT_STREQ(SystemException("f", 1, 0).what(), "SystemException");
    EXPECT_STREQ(InvalidArgumentException("f", 1, 0).what(), "InvalidArgumentException");
    EXPECT_STREQ(GetInterfaceException("f", 1, 0, 2).what(), "GetInterfaceException");
    EXPECT_STREQ(RuntimeError("f", 1).what(), "RuntimeError");
    EXPECT_STREQ(CheckFailedException("f", 1).what(), "CheckFailedException");
    EXPECT_STREQ(contract::Exception("f", 1).what(), "Exception");
    EXPECT_STREQ(contract::RequireViolation("f", 1).what(), "RequireViolation");
    EXPECT_STREQ(contract::InvariantViolation("f", 1).what(), "InvariantViolation");
    EXPECT_STREQ(contract::EnsureViolation("f", 1).what(), "EnsureViolation");
    EXPECT_STREQ(datetime::TimeSystemError("f", 1, 0).what(), "TimeSystemError");
}

TEST(Exceptions, DescriptionsJoinTheTextInHand) {
    const CheckResultFailedException failed("f", 1, eAccessDenied);
    EXPECT_EQ(Description(failed), u"0x80000045 (Access denied)");
    EXPECT_EQ(Description(failed, u"Cannot start"), u"Cannot start: 0x80000045 (Access denied)");
    EXPECT_EQ(Description(ResultCodeException("f", 1, sFalse)), u"0x00000001 (False)");
    EXPECT_EQ(Description(ResultCodeException("f", 1, MakeResult(0x80010120u))),
              u"0x80010120 (Unknown platform result code)");

    const GetInterfaceException lookup("f", 1, eNoInterface, 0x0A2F6563u);
    EXPECT_EQ(Description(lookup), u"iid:0a2f6563");
    EXPECT_EQ(Description(lookup, u"x"), u"x: iid:0a2f6563");
}

TEST(Exceptions, DescriptionDoesNotRepeatTheMessageThatItJoins) {
    CheckResultFailedException failed("f", 1, eAccessDenied);
    failed.SetMessage(u"Cannot start");
    EXPECT_EQ(Description(failed, failed.Message().c_str()), u"Cannot start: 0x80000045 (Access denied)");
    RuntimeError plain("f", 1);
    plain.SetMessage(u"No connection");
    EXPECT_EQ(Description(plain, plain.Message().c_str()), u"No connection");
    EXPECT_EQ(Description(plain), u"");
}

TEST(Exceptions, RecordIsCopiedTogetherWithItsNestedException) {
    RuntimeError inner("inner.cpp", 5);
    inner.SetMessage(u"No connection to product");
    auto outer = std::make_unique<GetInterfaceException>("outer.cpp", 9, eNotFound, 7u);
    outer->SetMessage(u"lookup of a service that is far away");
    outer->SetInner(inner);

    GetInterfaceException copy(*outer);
    GetInterfaceException assigned("", 0, sOk, 0);
    assigned = *outer;
    assigned = *&assigned;
    outer.reset();

    for (const GetInterfaceException* e : {&copy, &assigned}) {
        EXPECT_STREQ(e->File(), "outer.cpp");
        EXPECT_EQ(e->Line(), 9);
        EXPECT_EQ(e->Value(), 0);
        EXPECT_EQ(e->Code(), eNotFound);
        EXPECT_EQ(e->InterfaceId(), 7u);
        EXPECT_EQ(e->Message(), u"lookup of a service that is far away");
        ASSERT_NE(e->Inner(), nullptr);
        EXPECT_STREQ(e->Inner()->what(), "RuntimeError");
        EXPECT_EQ(e->Inner()->Message(), u"No connection to product");
    }
    EXPECT_NE(copy.Inner(), assigned.Inner());
}

TEST(Exceptions, CloneAndRethrowKeepTheClass) {
    const auto original = std::make_unique<GetInterfaceException>("f.cpp", 3, eNotFound, 0x11u);
    const Exception& base = *original;

    const std::unique_ptr<Exception> clone(base.Clone());
    ASSERT_NE(dynamic_cast<GetInterfaceException*>(clone.get()), nullptr);
    try {
        clone->Rethrow();
    } catch (const GetInterfaceException& e) {
        EXPECT_EQ(e.InterfaceId(), 0x11u);
        EXPECT_NE(static_cast<const Exception*>(&e), clone.get());
    }
    EXPECT_THROW(Exception("f", 1).Rethrow(), Exception);
    EXPECT_THROW(contract::RequireViolation("f", 1).Rethrow(), contract::Exception);
}

// Modules built elsewhere call these operations by their slots.
TEST(Exceptions, OperationsStandInTheirSlots) {
    const CheckResultFailedException failed("f", 1, eLocked);
    const void* object = static_cast<const Exception*>(&failed);
    void* const* slots = nullptr;
    std::memcpy(&slots, object, sizeof slots);

    const auto what = reinterpret_cast<const char* (*)(const void*)>(slots[2]);
    EXPECT_STREQ(what(object), "CheckResultFailedException");
    types::string16_t text;
    reinterpret_cast<void (*)(const void*, types::string16_t&)>(slots[3])(object, text);
    EXPECT_EQ(text, u"0x8000004f (Locked)");
    EXPECT_THROW(reinterpret_cast<void (*)(const void*)>(slots[4])(object), CheckResultFailedException);
    const std::unique_ptr<Exception> clone(reinterpret_cast<Exception* (*)(const void*)>(slots[5])(object));
    EXPECT_STREQ(clone->what(), "CheckResultFailedException");
}

} // namespace
} // namespace ulk
