// SPDX-License-Identifier: GPL-2.0-or-later
// A run-time module as small as can be, for the tests of module loading.
#include <foundation/exceptions.h>
#include <foundation/module.h>
#include <tests/unit/foundation/test_module.h>

namespace ulk::test {
namespace {

class Echo : public SimpleObjectBase<NoServiceStrategy, IEcho> {
public:
    explicit Echo(IServiceLocator* locator) : m_hasLocator(locator != nullptr) {}
    bool HasLocator() const override { return m_hasLocator; }
    std::uint32_t LiveObjectsOfModule() const override { return ObjectModuleAutoLockTyped::LiveObjects(); }
    void Throw() const override { throw GetInterfaceException("echo", 1, eLocked, Iid); }

private:
    bool m_hasLocator;
};

class Factory : public SimpleObjectBase<NoServiceStrategy, IObjectFactory> {
public:
    result_t CreateInstance(IServiceLocator* locator, iid_t iid, void** out) noexcept override {
        const Ptr<IEcho> echo = Ptr<IEcho>::Adopt(new Echo(locator));
        return echo->QueryInterface(iid, out);
    }
};

} // namespace
} // namespace ulk::test

// A symbol that is there, with the value null.
asm(".globl ulkTestNullSymbol\n.set ulkTestNullSymbol, 0\n");

ULK_MODULE_EXPORT result_t ulkGetObjectFactory(void* moduleInternal, std::uint32_t classId,
                                               ulk::IObjectFactory** factory) {
    *factory = nullptr;
    if (moduleInternal != nullptr)
        return ulk::eUnexpected;
    if (classId == ulk::test::NoFactoryClass)
        return ulk::sOk;
    if (classId != ulk::test::EchoClass)
        return ulk::eClassNotFound;
    *factory = new ulk::test::Factory;
    return ulk::sOk;
}

ULK_MODULE_EXPORT std::uint32_t ulkGetLiveObjectCount() { return ulk::ObjectModuleAutoLockTyped::LiveObjects(); }
