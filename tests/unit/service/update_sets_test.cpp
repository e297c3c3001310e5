// SPDX-License-Identifier: GPL-2.0-or-later
// Sets of signatures on disk: which are taken, how they follow each other, what a killed service leaves.
#include <service/update/signature_sets.h>
#include <tests/unit/service/killed_child.h>
#include <tests/unit/service/temp_folder.h>

#include <gtest/gtest.h>
#include <set>

namespace tfs::service::update {
namespace {

namespace fs = std::filesystem;
using tests::Content;
using tests::TempFolder;

/// Every set of these tests has two files that hold the same word.
void WriteSet(const std::string& folder, const std::string& word) {
    for (const char* name : {"/a.ndb", "/b.hdb"}) {
        fs::remove(folder + name); // as an updater does: it may be a link
        std::ofstream(folder + name) << word;
        fs::permissions(folder + name, fs::perms(0644));
    }
}

/// The word of a whole set; "-" for a set that isn't whole.
std::string Word(const std::string& folder) {
    const std::string word = Content(folder + "/a.ndb");
    return !word.empty() && Content(folder + "/b.hdb") == word ? word : "-";
}

std::set<std::string> Names(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename());
    return names;
}

class UpdateSets : public ::testing::Test {
protected:
    UpdateSets() {
        fs::create_directories(m_folder.File("bases"));
        fs::create_directories(m_folder.File("seeds"));
        WriteSet(m_folder.File("seeds"), "seed");
    }
    std::string Bases(const std::string& name = {}) const { return m_folder.File("bases/" + name); }
    SignatureSets Make() const { return {Bases(), m_folder.File("seeds/")}; }
    static bool Update(SignatureSets& sets, const std::string& word) {
        std::string folder;
        std::string problem;
        if (!ULK_SUCCEEDED(sets.BeginNew(folder, problem)))
            return false;
        WriteSet(folder, word);
        return ULK_SUCCEEDED(sets.Keep(folder, problem)) && ULK_SUCCEEDED(sets.Adopt(problem));
    }
    SignatureSets Opened() const {
        SignatureSets sets = Make();
        std::string problem;
        EXPECT_EQ(sets.Open(problem), ulk::sOk) << problem;
        return sets;
    }

    TempFolder m_folder;
    std::string m_problem;
};

TEST_F(UpdateSets, SeedsThenUpdatesThenRollback) {
    SignatureSets sets = Opened();
    EXPECT_EQ(sets.CurrentFolder(), Bases("sets/1"));
    EXPECT_EQ(Word(sets.CurrentFolder()), "seed");
    EXPECT_FALSE(sets.IsRollbackAvailable());
    EXPECT_EQ(sets.RollBack(m_problem), ulk::eNotFound);
    EXPECT_FALSE(m_problem.empty());

    for (const char* word : {"one", "two", "three"})
        ASSERT_TRUE(Update(sets, word));
    EXPECT_EQ(Word(Bases("current")), "three");
    EXPECT_EQ(Word(sets.PreviousFolder()), "two");
    EXPECT_EQ(Names(Bases("sets")), (std::set<std::string>{"3", "4"}));
    EXPECT_EQ(fs::read_symlink(Bases("current")), "sets/4");

    SignatureSets again = Opened();
    EXPECT_EQ(again.CurrentFolder(), sets.CurrentFolder());
    ASSERT_EQ(again.RollBack(m_problem), ulk::sOk);
    EXPECT_EQ(Word(Bases("current")), "two");
    EXPECT_FALSE(again.IsRollbackAvailable());
    EXPECT_EQ(Names(Bases("sets")), std::set<std::string>{"3"});
    EXPECT_FALSE(fs::is_symlink(Bases("previous")));
}

TEST_F(UpdateSets, FilesOfTheAdministratorComeFirstAndKeepTheirAge) {
    WriteSet(Bases(), "own");
    fs::last_write_time(Bases("a.ndb"), fs::file_time_type::clock::now() - std::chrono::hours(1000));
    const SignatureSets sets = Opened();
    EXPECT_EQ(Word(sets.CurrentFolder()), "own");
    EXPECT_EQ(fs::last_write_time(sets.CurrentFolder() + "/a.ndb"), fs::last_write_time(Bases("a.ndb")));
    EXPECT_EQ(Word(Bases()), "own") << "they stay where they were put";
}

TEST_F(UpdateSets, FilesThatAreNotToBeTrustedAreNamedAndNotTaken) {
    WriteSet(Bases(), "own");
    std::ofstream(Bases("wild.ndb")) << "x";
    fs::permissions(Bases("wild.ndb"), fs::perms(0666));
    fs::create_symlink(m_folder.File("seeds/a.ndb"), Bases("linked.ndb"));
    ASSERT_EQ(::mkfifo(Bases("pipe.ndb").c_str(), 0644), 0);
    std::ofstream(Bases("huge.ndb")) << "x";
    fs::resize_file(Bases("huge.ndb"), std::uintmax_t(MaxSignatureFile) + 1);
    std::ofstream(Bases("odd\n\x1b[31m.ndb")) << "x";
    std::ofstream(Bases("notes.txt")) << "x";
    std::set<std::string> refused{"wild.ndb", "linked.ndb", "pipe.ndb", "huge.ndb", "odd"};
    if (::geteuid() == 0) {
        std::ofstream(Bases("foreign.ndb")) << "x";
        ASSERT_EQ(::chown(Bases("foreign.ndb").c_str(), 4711, 4711), 0);
        refused.insert("foreign.ndb");
    }
    SignatureSets sets = Make();
    ASSERT_EQ(sets.Open(m_problem), ulk::sOk);
    EXPECT_EQ(Names(sets.CurrentFolder()), (std::set<std::string>{"a.ndb", "b.hdb"}));
    for (const std::string& name : refused)
        EXPECT_NE(m_problem.find(name), std::string::npos) << m_problem;
    EXPECT_EQ(m_problem.find_first_of("\n\x1b"), std::string::npos);
    EXPECT_EQ(m_problem.find("notes.txt"), std::string::npos);
}

TEST_F(UpdateSets, FolderThatOthersMayWriteIsRefused) {
    fs::permissions(Bases(), fs::perms(0777));
    SignatureSets sets = Make();
    EXPECT_EQ(sets.Open(m_problem), ulk::eAccessDenied);
    EXPECT_NE(m_problem.find("every user"), std::string::npos) << m_problem;
    fs::permissions(Bases(), fs::perms(0755));
    fs::create_directory_symlink(m_folder.File("seeds"), Bases("sets"));
    EXPECT_NE(sets.Open(m_problem), ulk::sOk) << "a link in place of the sets";
    EXPECT_EQ(sets.CurrentFolder(), m_folder.File("bases"));
}

TEST_F(UpdateSets, DamagedLinksLeadToTheSetBefore) {
    for (const char* target : {"sets/77", "../seeds", "sets/1/../../../seeds", "", "sets/2"}) {
        fs::remove_all(Bases());
        fs::create_directories(Bases());
        SignatureSets sets = Opened();
        ASSERT_TRUE(Update(sets, "one"));
        fs::remove(Bases("current"));
        if (*target != '\0')
            fs::create_symlink(target, Bases("current"));
        if (std::string_view(target) == "sets/2")
            fs::remove_all(Bases("sets/2"));
        EXPECT_EQ(Word(Opened().CurrentFolder()), "seed") << target;
        EXPECT_EQ(Word(Bases("current")), "seed") << target;
    }
}

TEST_F(UpdateSets, WorkingOnANewSetChangesNothingOfTheOneInUse) {
    SignatureSets sets = Opened();
    std::string folder;
    ASSERT_EQ(sets.BeginNew(folder, m_problem), ulk::sOk);
    EXPECT_EQ(Word(folder), "seed");
    struct stat status {};
    ASSERT_EQ(::stat(folder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    WriteSet(folder, "new");
    fs::create_directories(folder + "/tmp.1234/deep");
    std::ofstream(folder + "/freshclam.dat") << "memory";
    EXPECT_EQ(Word(sets.CurrentFolder()), "seed");
    ASSERT_EQ(sets.Keep(folder, m_problem), ulk::sOk) << m_problem;
    EXPECT_EQ(Names(folder), (std::set<std::string>{"a.ndb", "b.hdb"}));
    EXPECT_EQ(Word(Bases("current")), "seed");
    sets.Discard();
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_EQ(sets.Adopt(m_problem), ulk::eInvalidState);
    ASSERT_EQ(sets.BeginNew(folder, m_problem), ulk::sOk);
    EXPECT_EQ(Content(folder + "/freshclam.dat"), "memory") << "what the updater remembers outlives its set";
}

TEST_F(UpdateSets, NewSetsWithWhatNoUpdaterMakesAreRefused) {
    SignatureSets sets = Opened();
    const std::pair<const char*, void (*)(const std::string&)> tricks[] = {
        {"nothing in it",
         [](const std::string& folder) {
             fs::remove(folder + "/a.ndb");
             fs::remove(folder + "/b.hdb");
         }},
        {"link", [](const std::string& folder) { fs::create_symlink("/etc/passwd", folder + "/x.ndb"); }},
        {"folder", [](const std::string& folder) { fs::create_directory(folder + "/x.ndb"); }},
        {"pipe", [](const std::string& folder) { ::mkfifo((folder + "/x.ndb").c_str(), 0644); }},
        {"second name of another's file",
         [](const std::string& folder) {
             std::ofstream(folder + "/../foreign") << "x";
             if (::chown((folder + "/../foreign").c_str(), 4711, 4711) == 0)
                 fs::create_hard_link(folder + "/../foreign", folder + "/x.ndb");
             else // only root can try it
                 fs::create_directory(folder + "/x.ndb");
         }},
    };
    for (const auto& [name, play] : tricks) {
        std::string folder;
        ASSERT_EQ(sets.BeginNew(folder, m_problem), ulk::sOk);
        play(folder);
        EXPECT_NE(sets.Keep(folder, m_problem), ulk::sOk) << name;
        EXPECT_FALSE(m_problem.empty()) << name;
        sets.Discard();
        EXPECT_EQ(Word(Bases("current")), "seed") << name;
    }
    EXPECT_TRUE(Update(sets, "good"));
}

/// Where a killed service may leave the sets: the words of the current and the previous set.
using Pair = std::pair<std::string, std::string>;

class KilledUpdateSets : public UpdateSets {
protected:
    /// Kills `work` before each of its changes in turn, each time on the same beginning, and looks at what is left.
    template <class Work>
    void Try(Work work, const std::set<Pair>& allowed, bool beganEmpty) {
        const fs::path kept = m_folder.File("kept");
        const auto options = fs::copy_options::recursive | fs::copy_options::copy_symlinks;
        fs::remove_all(kept);
        fs::copy(Bases(), kept, options);
        std::size_t count = 0;
        for (bool killed = true; killed; ++count) {
            fs::remove_all(Bases());
            fs::copy(kept, Bases(), options);
            killed = tests::KilledBeforeChange(count, work);
            EXPECT_TRUE(beganEmpty || Word(Bases("current")) != "-") << "before change " << count;
            SignatureSets sets = Opened();
            const Pair found{Word(sets.CurrentFolder()),
                             sets.IsRollbackAvailable() ? Word(sets.PreviousFolder()) : std::string()};
            EXPECT_TRUE(allowed.count(found)) << found.first << " " << found.second << " before change " << count;
            EXPECT_EQ(Names(Bases("sets")).size(), sets.IsRollbackAvailable() ? 2u : 1u) << "before change " << count;
            EXPECT_TRUE(Update(sets, "later"));
            if (HasFailure())
                return;
        }
        EXPECT_GT(count, 5u);
    }
};

TEST_F(KilledUpdateSets, WhileTheFirstSetIsMade) {
    Try(
        [this] {
            std::string problem;
            SignatureSets sets = Make();
            return ULK_SUCCEEDED(sets.Open(problem));
        },
        {{"seed", ""}}, true);
}

TEST_F(KilledUpdateSets, WhileASetIsMadeAndAdopted) {
    {
        SignatureSets sets = Opened();
        ASSERT_TRUE(Update(sets, "one") && Update(sets, "two"));
    }
    Try(
        [this] {
            std::string problem;
            SignatureSets sets = Make();
            return ULK_SUCCEEDED(sets.Open(problem)) && Update(sets, "three");
        },
        {{"two", "one"}, {"three", "two"}}, false);
}

TEST_F(KilledUpdateSets, WhileItGoesBack) {
    {
        SignatureSets sets = Opened();
        ASSERT_TRUE(Update(sets, "one") && Update(sets, "two"));
    }
    Try(
        [this] {
            std::string problem;
            SignatureSets sets = Make();
            return ULK_SUCCEEDED(sets.Open(problem)) && ULK_SUCCEEDED(sets.RollBack(problem));
        },
        {{"two", "one"}, {"one", ""}}, false);
}

} // namespace
} // namespace tfs::service::update
