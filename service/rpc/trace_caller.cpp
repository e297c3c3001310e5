// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/string16.h>
#include <foundation/trace.h>
#include <service/rpc/event_hub.h>
#include <service/rpc/trace_caller.h>

namespace tfs::service::rpc {
namespace {

constexpr std::size_t NameLimit = 64;

template <class Text>
void Trace(const ConnectionContext& context, const char* deed, Text name, bool wasCut) {
    ULK_TRACE(context.hub.Tracer(), ulk::level::Detail)
        << "rpc: user " << context.caller.uid << " (process " << static_cast<int>(context.caller.pid) << ") " << deed
        << " \"" << name << (wasCut ? "\"..." : "\"");
}

} // namespace

void TraceCaller(const ConnectionContext& context, const char* deed, std::string_view name) {
    Trace(context, deed, name.substr(0, NameLimit), name.size() > NameLimit);
}

void TraceCaller(const ConnectionContext& context, const char* deed, std::u16string_view name) {
    Trace(context, deed, ulk::types::string16_t(name.substr(0, NameLimit)), name.size() > NameLimit);
}

} // namespace tfs::service::rpc
