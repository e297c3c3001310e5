// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/bases_seeder.h>

#include <filesystem>
#include <vector>

namespace tfs::service::app {
namespace {

namespace fs = std::filesystem;

/// Made last: without it a seeding was cut short.
constexpr char CompleteMark[] = ".seeded";
constexpr char FreshSuffix[] = ".seeding";

bool IsHidden(const fs::path& path) { return path.filename().native().starts_with('.'); }

std::vector<fs::path> RegularFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder))
        if (entry.symlink_status().type() == fs::file_type::regular && !IsHidden(entry.path()))
            files.push_back(entry.path());
    return files;
}

} // namespace

result_t SeedBases(const std::string& seedFolder, const std::string& basesFolder, std::size_t& copied) noexcept {
    copied = 0;
    try {
        const fs::path mark = fs::path(basesFolder) / CompleteMark;
        const std::vector<fs::path> seeds = RegularFiles(seedFolder);
        const std::vector<fs::path> present = RegularFiles(basesFolder);
        // Files of a seeding that was cut short are a part of the seeds; anything else is somebody's own set.
        for (const fs::path& file : present) {
            const bool isSeed = fs::exists(fs::path(seedFolder) / file.filename());
            const bool isLeftover = file.native().ends_with(FreshSuffix);
            if (fs::exists(mark) || (!isSeed && !isLeftover))
                return ulk::sOk;
        }
        for (const fs::path& seed : seeds) {
            const fs::path target = fs::path(basesFolder) / seed.filename();
            const fs::path fresh = target.native() + FreshSuffix;
            fs::copy_file(seed, fresh, fs::copy_options::overwrite_existing);
            // The scanner reads them as another user, and tells their age by their time.
            fs::last_write_time(fresh, fs::last_write_time(seed));
            fs::permissions(fresh, fs::perms(0644));
            fs::rename(fresh, target);
            ++copied;
        }
        if (copied > 0)
            fs::create_directory(mark);
        return ulk::sOk;
    } catch (const fs::filesystem_error& e) {
        return ulk::ResultFromErrno(e.code().value());
    } catch (const std::exception&) {
        return ulk::eOutOfMemory;
    }
}

} // namespace tfs::service::app
