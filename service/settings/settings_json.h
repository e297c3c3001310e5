// SPDX-License-Identifier: GPL-2.0-or-later
// The service's settings as a JSON document.
#pragma once

#include <foundation/object.h>
#include <service/settings/service_settings.h>

#include <stdexcept>
#include <string>

namespace tfs::service::settings {

/// A text that is no JSON document, or one that nobody has written by hand.
class DamagedSettings : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Fills a default record from the document. Throws DamagedSettings, or std::invalid_argument with what is wrong for a
/// key of the wrong type or range; keys that aren't known are kept.
ServiceSettings ParseSettings(const std::string& text);

/// The document, with a line feed at its end. The locator has the tracer. Throws std::invalid_argument for a text that
/// isn't UTF-8.
std::string FormatSettings(const ServiceSettings& settings, ulk::IServiceLocator* locator = nullptr);

} // namespace tfs::service::settings
