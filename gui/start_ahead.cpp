// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/start_ahead.h>
#include <gui/start_settings.h>

#include <QtGui/QFontDatabase>
#include <QtGui/QImageReader>
#include <fontconfig/fontconfig.h>
#include <system_error>

namespace tfs::gui {
namespace {

/// Where no thread is to be had the start does without: it only takes longer.
template <class T>
std::future<T> Begin(T (*work)()) {
    try {
        return std::async(std::launch::async, work);
    } catch (const std::system_error&) {
        return {};
    }
}

ModulesAhead Load() {
    ModulesAhead modules;
    (void)modules[0].Load(ModulePath("remoting"));
    (void)modules[1].Load(ModulePath("key_value_storage"));
    // Qt finds it done. Where it fails Qt tries anew.
    (void)::FcInit();
    return modules;
}

void List() {
    // Qt Quick asks for the formats with the first picture, which loads the plugin of each. Before the fonts, which may
    // still have to wait for their configuration.
    (void)QImageReader::supportedImageFormats();
    const QFontDatabase database;
}

} // namespace

std::future<ModulesAhead> LoadAhead() { return Begin(&Load); }

std::future<void> ListAhead() { return Begin(&List); }

} // namespace tfs::gui
