// SPDX-License-Identifier: GPL-2.0-or-later
// Reading .loc files into a translator's catalogue.
#include <tfs_common/translator.h>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <climits>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace tfs::localization {
namespace {

using boost::property_tree::ptree;

constexpr std::size_t kLargestFile = std::size_t{16} << 20;
constexpr int kDeepestNesting = 64;

/// The JSON parser recurses: a file of nothing but brackets would exhaust the stack.
void RequireShallow(std::string_view json) {
    int depth = 0;
    bool inText = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (inText) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inText = false;
        } else if (c == '"') {
            inText = true;
        } else if ((c == '{' || c == '[') && ++depth > kDeepestNesting) {
            throw std::runtime_error("the document is nested too deeply");
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
}

ptree ReadJson(const std::string& path) {
    std::ifstream file;
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file.open(path, std::ios::binary);
    std::string text;
    for (std::istreambuf_iterator<char> it(file), end; it != end; ++it) {
        if (text.size() >= kLargestFile)
            throw std::length_error("the file is too large");
        text.push_back(*it);
    }
    RequireShallow(text);
    std::istringstream stream(std::move(text));
    ptree tree;
    boost::property_tree::read_json(stream, tree);
    return tree;
}

void AppendMultibyte(std::string& out, char32_t codePoint) {
    char bytes[MB_LEN_MAX];
    std::mbstate_t state{};
    const std::size_t size = std::wcrtomb(bytes, static_cast<wchar_t>(codePoint), &state);
    if (size == static_cast<std::size_t>(-1))
        out += '?';
    else
        out.append(bytes, size);
}

/// UTF-8 to the C locale's encoding; what is malformed or can't be expressed becomes '?'.
std::string ToLocale(std::string_view utf8) {
    const ulk::types::string16_t utf16 = ulk::text::ToUtf16Lossy(utf8);
    std::string out;
    for (std::size_t i = 0; i < utf16.size(); ++i) {
        char32_t codePoint = utf16[i];
        if (codePoint >= 0xD800 && codePoint < 0xDC00 && i + 1 < utf16.size()) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (static_cast<char32_t>(utf16[i + 1]) - 0xDC00);
            ++i;
        }
        AppendMultibyte(out, codePoint);
    }
    return out;
}

/// An array of texts: members have names, and what is nested has no text of its own.
bool IsArrayOfTexts(const ptree& node) {
    for (const auto& [name, child] : node)
        if (!name.empty() || !child.empty())
            return false;
    return true;
}

/// Gives each entry of a catalogue its texts from a document.
class Overlay {
public:
    Overlay(ulk::ITracer* tracer, const ptree& document, std::uint32_t pluralFormsAmount, bool keepUtf8)
        : m_tracer(tracer), m_document(document), m_pluralFormsAmount(pluralFormsAmount), m_keepUtf8(keepUtf8) {}

    void operator()(LocalizationEntry& entry) const {
        auto& forms = entry.forms;
        const auto node = m_document.get_child_optional(std::string(entry.key));
        if (!node) {
            ULK_TRACE(m_tracer, ulk::level::Detail) << "Localization entry not found: " << entry.key;
            if (forms.size() > 1)
                forms.resize(m_pluralFormsAmount, std::string(forms.front()));
        } else if (node->empty() && forms.size() == 1) {
            forms.front() = Text(*node);
        } else if (!node->empty() && node->size() == m_pluralFormsAmount && forms.size() != 1 &&
                   IsArrayOfTexts(*node)) {
            forms.clear();
            for (const auto& child : *node)
                forms.push_back(Text(child.second));
        } else {
            ULK_TRACE(m_tracer, ulk::level::Detail) << "Entry is not of valid plural form: " << entry.key;
            if (forms.size() > 1 && forms.size() < m_pluralFormsAmount)
                forms.resize(m_pluralFormsAmount, std::string(forms.front()));
        }
    }

private:
    std::string Text(const ptree& node) const { return m_keepUtf8 ? node.data() : ToLocale(node.data()); }

    ulk::ITracer* m_tracer;
    const ptree& m_document;
    std::uint32_t m_pluralFormsAmount;
    bool m_keepUtf8;
};

} // namespace

result_t Translator::LoadFile(ulk::ITracer* tracer, const std::string& path, std::uint32_t pluralFormsAmount,
                              bool keepUtf8) {
    try {
        ULK_TRACE(tracer, ulk::level::Detail) << "Loading localization resources from: " << path;
        if (!std::filesystem::exists(path)) {
            ULK_TRACE(tracer, ulk::level::Detail) << path << " doesn't exist";
            return ulk::eNotFound;
        }
        LocalizationCatalogue changed = m_catalogue;
        const ptree document = ReadJson(path);
        changed.ForEach(Overlay(tracer, document, pluralFormsAmount, keepUtf8));
        m_catalogue.Swap(changed);
        return ulk::sOk;
    } catch (const std::exception& e) {
        ULK_TRACE(tracer, ulk::level::Failure) << "Cannot load localization resources: " << e.what();
        return ulk::eUnspecified;
    }
}

} // namespace tfs::localization
