// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <foundation/module.h>
#include <tests/unit/foundation/test_module.h>
#include <tests/unit/foundation/test_services.h>

#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string>
#include <typeinfo>

namespace ulk {
namespace {

constexpr char kModule[] = TEST_MODULE_FOLDER "/libfoundation_test_module.so";
constexpr char kBareModule[] = TEST_MODULE_FOLDER "/libfoundation_test_module_bare.so";

TEST(ModulePath, IsBuiltFromFolderAndName) {
    EXPECT_EQ(ModulePath(u"/opt/x/", "app_core_legacy"), "/opt/x/libapp_core_legacy.so");
    EXPECT_EQ(ModulePath(u"/opt/x", "app_core_legacy"), "/opt/x/libapp_core_legacy.so");
    EXPECT_EQ(ModulePath(u"", "remoting"), "libremoting.so");
    EXPECT_EQ(ModulePath(u"/opt/x/", "/usr/lib/libother.so"), "/usr/lib/libother.so");
    EXPECT_EQ(ModulePath(u"/opt/x/", "other/name"), "other/name");
    EXPECT_EQ(ModulePath(u"/opt/\u00E4/", "m"), "/opt/\xC3\xA4/libm.so");
    EXPECT_THROW(ModulePath(u"/opt/\xD800/", "m"), std::bad_cast);
}

TEST(Module, IsEnteredThroughItsExport) {
    Module module;
    ASSERT_EQ(module.Load(kModule), sOk) << module.ErrorText();
    const auto ownObjects = ObjectModuleAutoLockTyped::LiveObjects();
    const test::Services services;

    Ptr<test::IEcho> echo;
    ASSERT_EQ(module.CreateObject(test::EchoClass, nullptr, test::IEcho::Iid, reinterpret_cast<void**>(echo.Ref())),
              sOk);
    EXPECT_FALSE(echo->HasLocator());
    EXPECT_EQ(echo->LiveObjectsOfModule(), 1u) << "the factory was not released, or the count is the program's";
    ASSERT_EQ(module.CreateObject(test::EchoClass, services.locator.Get(), test::IEcho::Iid,
                                  reinterpret_cast<void**>(echo.Ref())),
              sOk);
    EXPECT_TRUE(echo->HasLocator());
    EXPECT_EQ(ObjectModuleAutoLockTyped::LiveObjects(), ownObjects + 3);

    // An exception keeps its class on the way out of the module.
    EXPECT_THROW(echo->Throw(), ResultCodeException);

    void* out = this;
    EXPECT_EQ(module.CreateObject(0xDEADu, nullptr, 0, &out), eClassNotFound);
    EXPECT_EQ(module.CreateObject(test::NoFactoryClass, nullptr, 0, &out), eUnexpected);
    EXPECT_EQ(module.CreateObject(test::EchoClass, nullptr, ITracer::Iid, &out), eNoInterface);
    EXPECT_EQ(out, nullptr);

    Module moved(std::move(module));
    EXPECT_EQ(module.CreateObject(test::EchoClass, nullptr, 0, &out), eNotInitialized);
    EXPECT_FALSE(module.ErrorText().empty());
    EXPECT_EQ(moved.CreateObject(test::EchoClass, nullptr, test::IEcho::Iid, reinterpret_cast<void**>(echo.Ref())),
              sOk);
    echo.Reset();
    moved.Close();
    moved.Close();
    EXPECT_EQ(moved.Load(kModule), sOk) << "can't be loaded again";
}

bool IsLoaded(const char* path) {
    void* const handle = ::dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr)
        ::dlclose(handle);
    return handle != nullptr;
}

TEST(Module, StaysLoadedWhileAnObjectOfItLives) {
    Module module;
    ASSERT_EQ(module.Load(kModule), sOk) << module.ErrorText();
    module.Close();
    EXPECT_FALSE(IsLoaded(kModule)) << "without objects it goes";

    ASSERT_EQ(module.Load(kModule), sOk) << module.ErrorText();
    Ptr<test::IEcho> echo;
    ASSERT_EQ(module.CreateObject(test::EchoClass, nullptr, test::IEcho::Iid, reinterpret_cast<void**>(echo.Ref())),
              sOk);
    module.Close();
    ASSERT_TRUE(IsLoaded(kModule));
    EXPECT_FALSE(echo->HasLocator()) << "its code is still there";
    void* out = nullptr;
    EXPECT_EQ(module.CreateObject(test::EchoClass, nullptr, 0, &out), eNotInitialized) << "closed all the same";
}

TEST(Module, WithoutTheExportIsNone) {
    Module module;
    ASSERT_EQ(module.Load(kBareModule), sOk) << module.ErrorText();
    void* out = this;
    EXPECT_EQ(module.CreateObject(test::EchoClass, nullptr, 0, &out), eSymbolNotFound);
    EXPECT_EQ(out, nullptr);
    EXPECT_NE(module.ErrorText().find("ulkGetObjectFactory"), std::string::npos) << module.ErrorText();
}

TEST(Module, FailureWithoutATextOfTheLinkerSaysSo) {
    Module module;
    ASSERT_EQ(module.Load(kModule), sOk);
    void* symbol = this;
    EXPECT_EQ(module.Find("ulkTestNullSymbol", &symbol), eSymbolNotFound);
    EXPECT_EQ(symbol, nullptr);
    EXPECT_EQ(module.ErrorText(), "dlerror returned nullptr");
}

TEST(Module, WhatCannotBeLoadedIsToldByTheLinker) {
    std::string folder = (std::filesystem::temp_directory_path() / "tesl-module-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string text = folder + "/libtext.so";
    std::ofstream(text) << "not a shared library";
    const std::string cut = folder + "/libcut.so";
    std::filesystem::copy_file(kModule, cut);
    std::filesystem::resize_file(cut, 100);

    for (const std::string& path : {folder + "/libmissing.so", text, cut, folder}) {
        Module module;
        EXPECT_EQ(module.Load(path), eModuleNotFound) << path;
        EXPECT_NE(module.ErrorText().find(path), std::string::npos) << module.ErrorText();
        void* out = nullptr;
        EXPECT_EQ(module.CreateObject(test::EchoClass, nullptr, 0, &out), eNotInitialized);
    }
    Module module;
    EXPECT_EQ(module.Load(""), eInvalidArgument) << "the program itself is no module";
    EXPECT_EQ(module.Load(std::string(kModule) + std::string("\0.txt", 5)), eInvalidArgument);
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace ulk
