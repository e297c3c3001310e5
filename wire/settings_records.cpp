// SPDX-License-Identifier: GPL-2.0-or-later
#include <wire/settings_records.h>
#include <wire/text.h>

namespace tfs::wire {

void Write(const settings::SettingsChangeList& changes, schema::SettingsChangeList::Builder out) {
    out.setTypeNumber(changes.typeNumber);
    auto items = out.initItems(static_cast<capnp::uint>(changes.items.size()));
    capnp::uint index = 0;
    for (const settings::ChangeItem& change : changes.items) {
        auto item = items[index++];
        item.setKey(AsData(change.key));
        item.setValue(AsData(change.value));
    }
    out.setAllowEmpty(changes.allowEmpty);
}

void Read(schema::SettingsChangeList::Reader in, settings::SettingsChangeList& changes) {
    changes.typeNumber = in.getTypeNumber();
    changes.items.clear();
    for (const auto& item : in.getItems())
        changes.items.push_back({ReadBytes(item.getKey()), ReadBytes(item.getValue())});
    changes.allowEmpty = in.getAllowEmpty();
}

void Write(const settings::ValidationMessage& message, schema::ValidationMessage::Builder out) {
    out.setTextKey(AsData(message.textKey));
    auto arguments = out.initArguments(static_cast<capnp::uint>(message.arguments.size()));
    for (std::size_t i = 0; i < message.arguments.size(); ++i)
        arguments.set(static_cast<capnp::uint>(i), AsData(message.arguments[i]));
}

void Read(schema::ValidationMessage::Reader in, settings::ValidationMessage& message) {
    message.textKey = ReadBytes(in.getTextKey());
    message.arguments.clear();
    for (const auto& argument : in.getArguments())
        ReadText(argument, message.arguments.emplace_back());
}

void WriteList(const ulk::types::vector_t<settings::ValidationMessage>& messages,
               capnp::List<schema::ValidationMessage>::Builder out) {
    for (std::size_t i = 0; i < messages.size(); ++i)
        Write(messages[i], out[static_cast<capnp::uint>(i)]);
}

void ReadList(capnp::List<schema::ValidationMessage>::Reader in,
              ulk::types::vector_t<settings::ValidationMessage>& messages) {
    messages.clear();
    for (const auto& item : in)
        Read(item, messages.emplace_back());
}

} // namespace tfs::wire
