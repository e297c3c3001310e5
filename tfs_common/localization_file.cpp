// SPDX-License-Identifier: GPL-2.0-or-later
// Reading .loc files into a translator's catalogue.
#include <tfs_common/regular_file.h>
#include <tfs_common/translator.h>

#include <algorithm>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace tfs::localization {
namespace {

using boost::property_tree::ptree;

constexpr std::size_t kLargestFile = std::size_t{16} << 20;
constexpr int kDeepestNesting = 64;

/// Where the text ends that begins at `at`, behind its quote; npos where it doesn't.
std::size_t EndOfText(std::string_view json, std::size_t at) {
    for (std::size_t quote = json.find('"', at); quote != json.npos; quote = json.find('"', quote + 1)) {
        std::size_t first = quote;
        while (first > at && json[first - 1] == '\\')
            --first;
        if ((quote - first) % 2 == 0) // each pair of backslashes is one of the text
            return quote + 1;
    }
    return json.npos;
}

/// The JSON parser recurses: a file of nothing but brackets would exhaust the stack.
void RequireShallow(std::string_view json) {
    int depth = 0;
    for (std::size_t at = 0; at < json.size();) {
        const char c = json[at++];
        if (c == '"')
            at = EndOfText(json, at);
        else if ((c == '{' || c == '[') && ++depth > kDeepestNesting)
            throw std::runtime_error("the document is nested too deeply");
        else if (c == '}' || c == ']')
            --depth;
    }
}

ptree ReadJson(const std::string& path) {
    std::string text;
    if (const result_t result = ReadRegularFile(path, kLargestFile, text); ULK_FAILED(result))
        throw std::runtime_error(path + ": " + std::string(ulk::ResultText(result)));
    RequireShallow(text);
    std::istringstream stream(std::move(text));
    ptree tree;
    boost::property_tree::read_json(stream, tree);
    return tree;
}

/// What is nested further has no text of its own to show. Names of members don't count, only their order does.
bool HoldsOnlyTexts(const ptree& node) {
    return std::all_of(node.begin(), node.end(), [](const auto& member) { return member.second.empty(); });
}

/// Gives each entry of a catalogue its texts from a document, which loses them.
class Overlay {
public:
    Overlay(ulk::ITracer* tracer, ptree& document, std::uint32_t pluralFormsAmount, bool keepUtf8)
        : m_tracer(tracer), m_document(document), m_pluralFormsAmount(pluralFormsAmount), m_keepUtf8(keepUtf8) {}

    void operator()(LocalizationEntry& entry) const {
        auto& forms = entry.forms;
        // No key holds a dot, so that each is a path of one step.
        const auto found = m_document.find(std::string(entry.key));
        if (found == m_document.not_found()) {
            ULK_TRACE(m_tracer, ulk::level::Detail) << "Localization entry not found: " << entry.key;
            if (forms.size() > 1)
                forms.resize(m_pluralFormsAmount, std::string(forms.front()));
            return;
        }
        ptree& node = found->second;
        if (node.empty() && forms.size() == 1) {
            forms.front() = TakeText(node);
        } else if (!node.empty() && node.size() == m_pluralFormsAmount && forms.size() != 1 && HoldsOnlyTexts(node)) {
            forms.clear();
            for (auto& child : node)
                forms.push_back(TakeText(child.second));
        } else {
            ULK_TRACE(m_tracer, ulk::level::Detail) << "Entry is not of valid plural form: " << entry.key;
            if (forms.size() > 1 && forms.size() < m_pluralFormsAmount)
                forms.resize(m_pluralFormsAmount, std::string(forms.front()));
        }
    }

private:
    std::string TakeText(ptree& node) const {
        return m_keepUtf8 ? std::move(node.data()) : ulk::text::ToLocaleLossy(node.data());
    }

    ulk::ITracer* m_tracer;
    ptree& m_document;
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
        ptree document = ReadJson(path);
        changed.ForEach(Overlay(tracer, document, pluralFormsAmount, keepUtf8));
        m_catalogue.Swap(changed);
        return ulk::sOk;
    } catch (const std::exception& e) {
        ULK_TRACE(tracer, ulk::level::Failure) << "Cannot load localization resources: " << e.what();
        return ulk::eUnspecified;
    }
}

} // namespace tfs::localization
