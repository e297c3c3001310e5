// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/bases.h>
#include <scanner/engine.h>
#include <scanner/temporary_files.h>

#include <algorithm>
#include <clamav.h>
#include <functional>
#include <memory>
#include <stdexcept>
#include <sys/mman.h>
#include <utility>

namespace tfs::scanner {
namespace {

/// Up to this size of pattern files one automaton holds all patterns, which halves the time for large files; beyond it
/// the engine's own choice needs less memory.
constexpr std::uint64_t OneAutomatonBytes = std::uint64_t{4} << 20;
/// What the read buffer keeps between two files.
constexpr std::size_t KeptBuffer = std::size_t{4} << 20;

/// A stored zip with one member, for the warm-up.
constexpr unsigned char WarmUpFile[] = {
    'P', 'K', 3, 4, 10, 0, 0, 0, 0,  0,   0,    0,    33,   0,    0x86, 0xA6, 0x10, 0x36, 5, 0,   0,
    0,   5,   0, 0, 0,  1, 0, 0, 0,  'a', 'h',  'e',  'l',  'l',  'o',  'P',  'K',  1,    2, 20,  0,
    10,  0,   0, 0, 0,  0, 0, 0, 33, 0,   0x86, 0xA6, 0x10, 0x36, 5,    0,    0,    0,    5, 0,   0,
    0,   1,   0, 0, 0,  0, 0, 0, 0,  0,   0,    0,    0,    0,    0,    0,    0,    0,    0, 'a', 'P',
    'K', 5,   6, 0, 0,  0, 0, 1, 0,  1,   0,    47,   0,    0,    0,    36,   0,    0,    0, 0,   0};

/// What the callbacks gather during one scan. The engine's log callback has no context that is always set, so the
/// object in use is also reachable here; the process has one thread.
struct ScanContext {
    explicit ScanContext(std::uint64_t maxFileSize) : archives(maxFileSize) {}
    ArchiveWatch archives;
    EngineOutcome outcome;
};
ScanContext* g_current = nullptr;

std::string_view View(const char* text) noexcept { return text != nullptr ? text : std::string_view(); }

cl_error_t OnLayer(int, const char* type, const char**, std::size_t, const char* name, std::size_t size, const char*,
                   std::uint32_t level, std::uint32_t, void* context) {
    static_cast<ScanContext*>(context)->archives.BeginLayer(level, View(type), View(name), size);
    return CL_CLEAN;
}

/// A member of an archive, as the archive describes it.
cl_error_t OnMember(const char* container, unsigned long packed, const char* name, unsigned long unpacked,
                    int encrypted, unsigned position, void* context) {
    static_cast<ScanContext*>(context)->archives.Member(
        {View(container), View(name), packed, unpacked, encrypted != 0, position});
    return CL_CLEAN;
}

cl_error_t OnLayerEnd(int, int, const char*, void* context) {
    static_cast<ScanContext*>(context)->archives.EndLayer();
    return CL_CLEAN;
}

void OnFound(int, const char* name, void* context) {
    auto& scan = *static_cast<ScanContext*>(context);
    const std::string_view found = View(name);
    if (found.empty()) {
        scan.outcome.emptyAlert = true;
    } else if (IsScanAlert(found)) {
        if (scan.outcome.alert.empty())
            scan.outcome.alert = found;
    } else if (scan.outcome.threat.empty()) {
        scan.outcome.threat = found;
        scan.outcome.inner = scan.archives.InnerName();
    }
}

void OnMessage(cl_msg, const char* full, const char*, void*) {
    if (g_current == nullptr || full == nullptr || g_current->outcome.trouble != EngineTrouble::None)
        return;
    g_current->outcome.trouble = TroubleOfMessage(full);
}

off_t ReadHandle(void* handle, void* buffer, std::size_t count, off_t offset) {
    return static_cast<FileSource*>(handle)->Read(buffer, count, offset);
}

cl_scan_options ScanOptions(bool archives) {
    cl_scan_options options{};
    options.general = CL_SCAN_GENERAL_HEURISTICS;
    options.parse = archives ? ~0u : ~static_cast<unsigned>(CL_SCAN_PARSE_ARCHIVE);
    options.heuristic = CL_SCAN_HEURISTIC_EXCEEDS_MAX | CL_SCAN_HEURISTIC_ENCRYPTED_DOC |
                        (archives ? CL_SCAN_HEURISTIC_ENCRYPTED_ARCHIVE : 0u);
    return options;
}

/// Closes a map of the engine.
struct MapCloser {
    void operator()(cl_fmap* map) const noexcept { cl_fmap_close(map); }
};
using MapHandle = std::unique_ptr<cl_fmap, MapCloser>;

} // namespace

Engine::Engine() {
    cl_set_clcb_msg(OnMessage);
    if (const cl_error_t result = cl_init(CL_INIT_DEFAULT); result != CL_SUCCESS)
        throw std::runtime_error(cl_strerror(result));
}

Engine::~Engine() {
    if (m_buffer != nullptr)
        ::munmap(m_buffer, m_bufferSize);
    if (m_engine != nullptr)
        cl_engine_free(m_engine);
}

std::string Engine::Version() { return cl_retver(); }

std::string Engine::Load(const Settings& settings) {
    const BasesInfo info = InspectBases(settings.basesFolder);
    if (!info.error.empty())
        return info.error;
    m_engine = cl_engine_new();
    if (m_engine == nullptr)
        return "the engine can't be made";
    const std::pair<cl_engine_field, std::uint64_t> numbers[] = {
        {CL_ENGINE_MAX_FILESIZE, settings.maxFileSize},
        {CL_ENGINE_MAX_SCANSIZE, settings.maxScanSize},
        {CL_ENGINE_MAX_SCANTIME, settings.timeLimitMs},
        {CL_ENGINE_MAX_RECURSION, settings.maxRecursion},
        {CL_ENGINE_MAX_FILES, settings.maxFiles},
        {CL_ENGINE_AC_ONLY, info.patternBytes <= OneAutomatonBytes ? 1u : 0u},
        // The service keeps its own cache of clean files; the engine's would cost a hash of every file.
        {CL_ENGINE_DISABLE_CACHE, 1},
    };
    for (const auto& [field, value] : numbers)
        if (const cl_error_t result = cl_engine_set_num(m_engine, field, static_cast<long long>(value));
            result != CL_SUCCESS)
            return std::string("a setting of the engine was refused: ") + cl_strerror(result);
    m_maxFileSize = settings.maxFileSize;
    m_timeLimitMs = settings.timeLimitMs;
    m_timeInForce = settings.timeLimitMs;
    cl_engine_set_clcb_file_inspection(m_engine, OnLayer);
    cl_engine_set_clcb_post_scan(m_engine, OnLayerEnd);
    cl_engine_set_clcb_virus_found(m_engine, OnFound);
    cl_engine_set_clcb_meta(m_engine, OnMember);
    unsigned count = 0;
    if (const cl_error_t result = cl_load(settings.basesFolder.c_str(), m_engine, &count, CL_DB_STDOPT);
        result != CL_SUCCESS)
        return std::string("the signatures can't be loaded: ") + cl_strerror(result);
    if (count == 0)
        return "the folder of signatures holds none";
    if (const cl_error_t result = cl_engine_compile(m_engine); result != CL_SUCCESS)
        return std::string("the signatures can't be prepared: ") + cl_strerror(result);
    m_signatures = count;
    m_date = info.newest;
    // Another engine finds other things with the same signatures.
    m_fingerprint = info.fingerprint ^ std::hash<std::string>()(Version()) ^ (std::uint64_t{cl_retflevel()} << 32);
    return {};
}

void Engine::SetTemporaryFolder(const std::string& folder) {
    cl_engine_set_str(m_engine, CL_ENGINE_TMPDIR, folder.c_str());
}

void Engine::SetReadBuffer(std::size_t size) {
    void* memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        throw std::runtime_error("no memory for the read buffer");
    ::madvise(memory, size, MADV_HUGEPAGE);
    m_buffer = static_cast<char*>(memory);
    m_bufferSize = size;
}

void Engine::Trim() noexcept {
    if (m_bufferUsed <= KeptBuffer)
        return;
    ::madvise(m_buffer + KeptBuffer, m_bufferSize - KeptBuffer, MADV_DONTNEED);
    m_bufferUsed = 0;
}

std::string Engine::WarmUp() {
    const MapHandle map(cl_fmap_open_memory(WarmUpFile, sizeof WarmUpFile));
    ScanContext context(m_maxFileSize);
    cl_scan_options options = ScanOptions(true);
    const char* name = nullptr;
    const cl_error_t result = cl_scanmap_callback(map.get(), nullptr, &name, nullptr, m_engine, &options, &context);
    return result == CL_CLEAN ? std::string() : std::string("the first scan failed: ") + cl_strerror(result);
}

void Engine::StretchTime(std::uint32_t factor) noexcept { m_timeLimitMs *= factor; }

void Engine::SetTimeLimit(std::uint64_t milliseconds) noexcept {
    const std::uint64_t limit = milliseconds == 0 ? m_timeLimitMs : std::min(milliseconds, m_timeLimitMs);
    if (limit != m_timeInForce)
        cl_engine_set_num(m_engine, CL_ENGINE_MAX_SCANTIME, static_cast<long long>(limit));
    m_timeInForce = limit;
}

Verdict Engine::Scan(int descriptor, IReadMonitor& monitor, const ScanLimits& limits) {
    FileSource source(descriptor, monitor);
    SetTimeLimit(limits.timeLimitMs);
    Verdict verdict = ScanSource(source, limits);
    verdict.bytes = source.Bytes();
    return verdict;
}

Verdict Engine::ScanSource(FileSource& source, const ScanLimits& limits) {
    ScanContext context(m_maxFileSize);
    EngineOutcome& outcome = context.outcome;
    const auto decide = [&] {
        outcome.source = source.Trouble();
        outcome.sourceDetail = source.Detail();
        return Decide(outcome);
    };
    if (!source.Begin())
        return decide();
    if (source.Size() > m_maxFileSize || (limits.maxFileSize != 0 && source.Size() > limits.maxFileSize))
        return {VerdictCode::Limit, {}, {}, "the file is too large", 0};
    MapHandle map;
    if (source.Size() < m_bufferSize) {
        const std::size_t size = static_cast<std::size_t>(source.Size());
        m_bufferUsed = std::max(m_bufferUsed, size + 1);
        if (!source.ReadWhole({m_buffer, size + 1}))
            return decide();
        if (size == 0)
            return decide();
        map.reset(cl_fmap_open_memory(m_buffer, size));
    } else {
        map.reset(cl_fmap_open_handle(&source, 0, static_cast<std::size_t>(source.Size()), ReadHandle, 1));
    }
    if (!map)
        return {VerdictCode::Limit, {}, {}, "the memory limit was reached", 0};
    cl_scan_options options = ScanOptions(limits.archives);
    const char* name = nullptr;
    g_current = &context;
    ForgetFileTrouble();
    const cl_error_t result = cl_scanmap_callback(map.get(), nullptr, &name, nullptr, m_engine, &options, &context);
    g_current = nullptr;
    outcome.fileTrouble = FileTrouble();
    map.reset();
    source.End();
    context.archives.Finish();
    if (limits.archives) // what wasn't to be unpacked isn't missing
        outcome.archive = context.archives.Troubles();
    outcome.result = result;
    outcome.resultText = cl_strerror(result);
    if (result == CL_VIRUS && outcome.threat.empty() && outcome.alert.empty())
        OnFound(-1, name, &context);
    return decide();
}

} // namespace tfs::scanner
