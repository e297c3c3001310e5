// SPDX-License-Identifier: GPL-2.0-or-later
// Measures what the texts cost. Ends with 1 where a goal is missed.
#include <tfs_common/translator.h>

#include <algorithm>
#include <bench/median.h>
#include <bench/verdict.h>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cstdio>
#include <exception>
#include <random>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace {

using namespace tfs;
using namespace tfs::bench;

constexpr char CompleteFile[] = TESL_BENCH_LOC_FILE;

bool Tell(const char* name, const char* reference, const Medians& medians, double goal) {
    const double ratio = medians.ours / medians.theirs;
    std::printf("%-10s %8.3f ms, %s %8.3f ms, ratio %6.3f (goal: at most %.1f)\n", name, medians.ours, reference,
                medians.theirs, ratio, goal);
    return ratio <= goal;
}

/// A complete file into the catalogue, against the parser that reads it.
bool CompareLoading() {
    localization::Translator translator("");
    const Medians medians = MediansInTurn(
        [&] {
            if (ULK_FAILED(translator.LoadFile(nullptr, CompleteFile, 2, true)))
                throw std::runtime_error("the file doesn't load");
        },
        [] {
            boost::property_tree::ptree tree;
            boost::property_tree::read_json(CompleteFile, tree);
            if (tree.empty())
                throw std::runtime_error("the file is empty");
        });
    return Tell("loading", "JSON parser", medians, 1.5);
}

/// All texts in an order of no use to the processor's caches, against a hash table with the same numbers.
bool CompareLookUp() {
    constexpr int Repetitions = 100;
    const localization::Translator translator("");
    const std::size_t size = translator.Catalogue().Size();
    std::unordered_map<std::uint32_t, std::string> table;
    std::vector<std::uint32_t> ids;
    for (std::uint32_t id = 0; id < size; ++id) {
        table.emplace(id, translator.GetString(id));
        ids.push_back(id);
    }
    std::shuffle(ids.begin(), ids.end(), std::mt19937(1));
    const auto bytesOf = [&ids](const auto& lookUp) {
        std::size_t bytes = 0;
        for (int repetition = 0; repetition < Repetitions; ++repetition)
            for (const std::uint32_t id : ids)
                bytes += lookUp(id);
        return bytes;
    };
    const auto compare = [&](const char* name, const auto& ourLookUp, const auto& theirLookUp) {
        std::size_t ourBytes = 0;
        std::size_t theirBytes = 0;
        const Medians medians =
            MediansInTurn([&] { ourBytes = bytesOf(ourLookUp); }, [&] { theirBytes = bytesOf(theirLookUp); });
        if (ourBytes != theirBytes)
            throw std::runtime_error("the texts differ");
        return Tell(name, "hash table ", medians, 4);
    };
    const localization::LocalizationCatalogue& catalogue = translator.Catalogue();
    const bool good = compare(
        "look-up", [&](std::uint32_t id) { return catalogue.Find(id)->forms.front().size(); },
        [&](std::uint32_t id) { return table.find(id)->second.size(); });
    // A caller gets a copy, which the memory is asked for.
    return compare(
               "copies", [&](std::uint32_t id) { return translator.GetString(id).size(); },
               [&](std::uint32_t id) { return std::string(table.find(id)->second).size(); }) &&
           good;
}

void RunToItsEnd(const char* program) {
    char* const arguments[] = {const_cast<char*>(program), nullptr};
    pid_t pid = 0;
    int status = 0;
    if (::posix_spawn(&pid, program, nullptr, nullptr, arguments, environ) != 0 || ::waitpid(pid, &status, 0) != pid ||
        status != 0)
        throw std::runtime_error(std::string("can't run ") + program);
}

/// What a program's start takes longer with the texts than without.
bool CompareStart() {
    constexpr int Rounds = 101;
    constexpr double Goal = 3;
    const Medians medians = MediansInTurn([] { RunToItsEnd(TESL_BENCH_WITH_TEXTS); },
                                          [] { RunToItsEnd(TESL_BENCH_WITHOUT_TEXTS); }, Rounds);
    const double added = medians.ours - medians.theirs;
    std::printf("%-10s %8.3f ms, without     %8.3f ms, added %6.3f ms (goal: at most %.0f ms)\n", "start", medians.ours,
                medians.theirs, added, Goal);
    return added <= Goal;
}

} // namespace

int main() {
    try {
        bool good = CompareLoading();
        good = CompareLookUp() && good;
        good = CompareStart() && good;
        return TellVerdict(good);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "text_bench: %s\n", e.what());
        return 1;
    }
}
