// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <tfs_common/setting_value.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/update_failure.h>

#include <exception>
#include <new>
#include <utility>

namespace tfs::tools {
namespace {

using settings::ChangeItem;
using settings::IStorage;
using settings::SettingsChangeList;
using settings::ValueKind;
using ulk::types::any_struct_t;
using Messages = ulk::types::vector_t<settings::ValidationMessage>;

constexpr std::string_view RootName = "root";

ulk::Ptr<ulk::ITracer> TracerOf(ulk::IServiceLocator* locator) {
    ulk::Ptr<ulk::ITracer> tracer;
    ulk::GetInterface(locator, tracer.Ref());
    return tracer;
}

std::string ReasonOf(const ulk::Exception& exception) { return ulk::text::ToUtf8Lossy(exception.Message()); }

/// Puts a text into a node; a list takes an empty one, which empties it. Throws settings::ValueError.
void SetText(IStorage& node, const std::string& text) {
    if (node.Type().kind == ValueKind::List && text.empty())
        node.RemoveElements();
    else
        node.SetValue(settings::ParseValue(node.Type(), text));
}

void ApplyItem(ulk::ITracer* tracer, IStorage& root, const ChangeItem& item) {
    IStorage* const node = settings::FindNode(root, item.key);
    if (node == nullptr)
        ulk::check::Throw(__FILE__, __LINE__, ulk::eNotFound, "There is no setting '" + item.key + "'");
    try {
        SetText(*node, item.value);
    } catch (const settings::ValueError& e) {
        ULK_TRACE(tracer, ulk::level::Failure) << e.what();
        ulk::check::Throw(__FILE__, __LINE__, ulk::eInvalidArgument,
                          "Cannot parse value '" + item.value + "' for setting '" + item.key + "'");
    }
}

any_struct_t Updated(ulk::IServiceLocator* locator, ulk::ITracer* tracer, const any_struct_t& current,
                     const SettingsChangeList& changes, Messages& messages) {
    if (changes.typeNumber != current.type())
        ulk::check::Throw(__FILE__, __LINE__, ulk::eInvalidType,
                          "Expected settings type " + std::to_string(changes.typeNumber) + " but current type is " +
                              std::to_string(current.type()));
    const auto root = MakeNode(locator, current);
    if (!root)
        ulk::check::Throw(__FILE__, __LINE__, ulk::eInvalidType, "Settings are not described");

    const auto ValidateChangeList = [&](const SettingsChangeList& list, Messages& found) {
        return tools::ValidateChangeList(locator, current, list, found);
    };
    constexpr char NotValid[] = "Cannot validate change list";
    if (const result_t result = ULK_CHECK_TRACE(tracer, ValidateChangeList(changes, messages), NotValid);
        !ULK_SUCCEEDED(result))
        ulk::check::Throw(__FILE__, __LINE__, result, NotValid);

    // A value that isn't allowed gets through to here, where the first one gives the whole update its reason.
    for (const ChangeItem& item : changes.items)
        ApplyItem(tracer, *root, item);
    return settings::FindStructure(current.type())->changed(current, [&root](void* copy) {
        settings::ReadStorage(*root, copy);
    });
}

} // namespace

result_t LoadChangeList(ulk::IServiceLocator* locator, const NativePath& path, SettingsChangeList& list) {
    const auto tracer = TracerOf(locator);
    try {
        ReadIni(tracer.Get(), path, list);
        return ulk::sOk;
    } catch (const ulk::ResultCodeException& e) {
        ULK_TRACE(tracer.Get(), ulk::level::Failure) << ReasonOf(e);
        return e.Code();
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
}

settings::objptr_t<IStorage> MakeNode(ulk::IServiceLocator* locator, const any_struct_t& structure) {
    const settings::StructureDescription* const description = settings::FindStructure(structure.type());
    const void* const value = description != nullptr ? description->find(structure) : nullptr;
    if (value == nullptr) {
        ULK_TRACE(TracerOf(locator).Get(), ulk::level::Failure)
            << "Settings of type " << structure.type() << " are not described";
        return {};
    }
    return settings::MakeStorage(RootName, description->type, value);
}

result_t ValidateChangeList(ulk::IServiceLocator* locator, const any_struct_t& structure,
                            const SettingsChangeList& changes, Messages& messages) {
    // A tree of its own: items are tried one after the other, as they will be applied.
    const auto root = MakeNode(locator, structure);
    if (!root || changes.typeNumber != structure.type())
        return ulk::eInvalidType;
    result_t result = ulk::sOk;
    const auto tell = [&messages](settings::ValidationMessage message) {
        if (messages.size() < GreatestMessageCount)
            messages.push_back(std::move(message));
    };
    for (const ChangeItem& item : changes.items) {
        IStorage* const node = settings::FindNode(*root, item.key);
        if (node == nullptr || node->Type().kind == ValueKind::Structure) {
            tell(settings::DescribeUnknownKey(item.key, item.value));
            result = ulk::eNotFound;
            continue;
        }
        try {
            SetText(*node, item.value);
        } catch (const settings::ValueError& e) {
            tell(settings::DescribeFault(e.Fault(), item.key, node->Type(), item.value));
            if (result == ulk::sOk)
                result = sInvalidSettings;
        }
    }
    return result;
}

any_struct_t UpdateSettings(ulk::IServiceLocator* locator, const any_struct_t& current,
                            const SettingsChangeList& changes, Messages& messages) {
    const auto tracer = TracerOf(locator);
    try {
        return Updated(locator, tracer.Get(), current, changes, messages);
    } catch (...) {
        ULK_TRACE(tracer.Get(), ulk::level::Failure) << DescribeUpdateFailure(std::current_exception()).text;
        throw;
    }
}

result_t UpdateSettings(ulk::IServiceLocator* locator, const any_struct_t& current, const SettingsChangeList& changes,
                        Messages& messages, any_struct_t& updated) {
    try {
        updated = UpdateSettings(locator, current, changes, messages);
        return ulk::sOk;
    } catch (...) {
        return DescribeUpdateFailure(std::current_exception()).code;
    }
}

ulk::types::vector_t<ChangeItem> ListSettings(ulk::IServiceLocator* locator, const any_struct_t& structure) {
    ulk::types::vector_t<ChangeItem> items;
    if (const auto root = MakeNode(locator, structure))
        settings::ForEachSetting(*root, [&items](const std::string& key, const IStorage& node) {
            items.push_back({key, settings::PrintValue(node.Type(), node.Value())});
        });
    return items;
}

} // namespace tfs::tools
