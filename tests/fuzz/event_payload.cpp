// SPDX-License-Identifier: GPL-2.0-or-later
// Payloads of stored events: what can be read can be written and reads the same again.
#include <foundation/datetime.h>
#include <service/store/payload_codec.h>
#include <tests/fuzz/input.h>

#include <stdexcept>

namespace {

/// Texts for display have their own failures and no others.
void Show(const ulk::types::variant_t& value) {
    try {
        (void)ulk::types::VariantToString(value);
    } catch (const std::invalid_argument&) {
    } catch (const ulk::datetime::TimeSystemError&) {
    }
}

} // namespace

void tfs::fuzz::Run(std::string_view input) {
    Event event;
    const Event before = event;
    if (!service::store::DecodePayload(input, event)) {
        Require(event == before);
        return;
    }
    std::string bytes;
    Require(ULK_SUCCEEDED(service::store::EncodePayload(event, bytes)));
    Event again = before;
    Require(service::store::DecodePayload(bytes, again));
    Require(again == event);
    for (const EventAdditionalData& data : event.additional)
        Show(data.value);
}
