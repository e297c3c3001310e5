// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/row_keys.h>

namespace tfs::service::store {

std::string TaskTypeKey(std::u16string_view taskType) { return ulk::text::ToUtf8Lossy(taskType); }

RowKeys KeysOf(const Event& event) {
    RowKeys keys{event.id, event.time, static_cast<std::int64_t>(event.type), {}, {}};
    ulk::types::variant_t value;
    if (ULK_SUCCEEDED(event.GetAdditionalData(types::AdditionalName::TaskType, value))) {
        if (const auto* wide = value.As<ulk::types::string16_t>())
            keys.taskType = TaskTypeKey(*wide);
        else if (const auto* narrow = value.As<std::string>())
            keys.taskType = *narrow;
    }
    if (ULK_SUCCEEDED(event.GetAdditionalData(types::AdditionalName::TaskId, value))) {
        std::int64_t number = 0;
        if (const auto* id = value.As<std::uint64_t>())
            keys.taskId = TaskIdKey(*id);
        else if (ulk::types::VariantToInteger(value, number))
            keys.taskId = number;
    }
    return keys;
}

} // namespace tfs::service::store
