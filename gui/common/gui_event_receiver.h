// SPDX-License-Identifier: GPL-2.0-or-later
// The window's side sink of pushed events.
#pragma once

#include <contract/tfs/event.h>

namespace tfs::gui {

/// OnEvent is called on the subscription's thread, one event at a time, in order.
class IGuiEventReceiver : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x71D3A25Fu;
    virtual result_t OnEvent(const Event& event) = 0;
    virtual result_t GetReceiverName(ulk::types::string16_t& name) const = 0;

protected:
    ~IGuiEventReceiver() = default;
};

} // namespace tfs::gui
