// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/common/application.h>
#include <gui/tools/interceptor_link.h>
#include <tfs_common/translator.h>

#include <boost/format.hpp>

namespace tfs::gui {
namespace {

// Names of the reserved top-level domain: nobody else can come to own them.
constexpr char RedirectionEndpoint[] = "https://click.tolvander.example";
constexpr char MakersSite[] = "https://www.tolvander.example";

} // namespace

QString GetInterceptorLink(const std::string& link) {
    using tfs::localization::GetLocalizedString;
    namespace entry = tfs::localization::entry;
    try {
        static const std::string localization = GetLocalizedString(entry::GuiInterceptorLinkLocalization, 0);
        static const std::string version = GetLocalizedString(entry::GuiInterceptorLinkProductVersion, 0);
        static const std::string pid = GetLocalizedString(entry::GuiInterceptorLinkPid, 0);
        boost::format address(std::string(RedirectionEndpoint) + "/?hl=%1%&version=%2%&pid=%3%&link=%4%");
        address % localization % version % pid % link;
        const std::string text = address.str();
        ULK_TRACE(application::GetTracer(), ulk::level::Notable) << "GetInterceptorLink"
                                                                 << " link:" << text;
        return QString::fromStdString(text);
    } catch (const std::exception&) {
        ULK_TRACE(application::GetTracer(), ulk::level::Notable)
            << "GetInterceptorLink"
            << " failed to get correct link, this link leads to" << MakersSite;
        return QString::fromLatin1(MakersSite);
    }
}

} // namespace tfs::gui
