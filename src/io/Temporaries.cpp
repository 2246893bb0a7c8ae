// Temporary files of atomic writes. Their names carry the id of the
// process that writes them, so that a later run can tell the ones whose
// writer has ended; the ones in flight are listed in fixed slots that a
// signal handler reads without locks or allocation.
#include "Temporaries.h"

#include <fluxgrid/io/Files.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fluxgrid {

namespace {

constexpr std::string_view kPrefix = ".fluxgrid-";
constexpr std::string_view kSuffix = ".tmp";
constexpr std::size_t kRandomLetters = 6;
constexpr std::size_t kMaxPidDigits = 10;
// Untouched this long, a temporary is stale whatever its process id says.
constexpr std::time_t kStaleAfterSeconds = 24 * 60 * 60;

// One temporary in flight: its folder and name, readable by a signal
// handler once `state` says so.
struct Slot {
    enum State : int { free, filling, listed };
    std::atomic<int> state{free};
    int folder = -1;
    std::array<char, kPrefix.size() + kMaxPidDigits + 1 + kRandomLetters + kSuffix.size() + 1>
        name{};
};

constexpr std::size_t kSlots = 1024;
std::array<Slot, kSlots> g_slots;
std::atomic<std::size_t> g_nextSlot{0};

int claimSlot() {
    const std::size_t start = g_nextSlot.fetch_add(1, std::memory_order_relaxed);
    for (std::size_t i = 0; i < kSlots; ++i) {
        const std::size_t index = (start + i) % kSlots;
        int expected = Slot::free;
        if (g_slots[index].state.compare_exchange_strong(expected, Slot::filling)) {
            return static_cast<int>(index);
        }
    }
    return -1;
}

// Lists `name` in `slot` before the file exists, so that no moment passes
// in which the file is there and a signal would miss it.
void listInSlot(int slot, int folder, const std::string& name) {
    if (slot < 0) {
        return;
    }
    Slot& entry = g_slots[static_cast<std::size_t>(slot)];
    entry.state.store(Slot::filling, std::memory_order_release);
    entry.folder = folder;
    std::memcpy(entry.name.data(), name.c_str(), name.size() + 1);
    entry.state.store(Slot::listed, std::memory_order_release);
}

std::string randomName() {
    static constexpr char kLetters[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    thread_local std::minstd_rand random(std::random_device{}());
    std::uniform_int_distribution<std::size_t> letter(0, sizeof kLetters - 2);
    std::string name(kPrefix);
    name += std::to_string(::getpid());
    name += '-';
    for (std::size_t i = 0; i < kRandomLetters; ++i) {
        name += kLetters[letter(random)];
    }
    name += kSuffix;
    return name;
}

bool isAlnum(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The process id in a temporary's name; nothing for any other name.
std::optional<pid_t> writerOf(std::string_view name) {
    if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix)) {
        return std::nullopt;
    }
    name.remove_prefix(kPrefix.size());
    name.remove_suffix(kSuffix.size());
    const std::size_t dash = name.find('-');
    if (dash == std::string_view::npos || dash == 0 || dash > kMaxPidDigits ||
        name.size() != dash + 1 + kRandomLetters) {
        return std::nullopt;
    }
    for (const char c : name.substr(dash + 1)) {
        if (!isAlnum(c)) {
            return std::nullopt;
        }
    }
    long long pid = 0;
    const char* end = name.data() + dash;
    const auto [stop, error] = std::from_chars(name.data(), end, pid);
    if (error != std::errc{} || stop != end || pid <= 0 || pid > INT32_MAX) {
        return std::nullopt;
    }
    return static_cast<pid_t>(pid);
}

// A temporary is stale when its writer has ended (no process has its id
// here), or when it has not changed for a day: no write takes that long, and
// the id may since have been given to another process.
bool isStale(int folder, const char* name) {
    const std::optional<pid_t> writer = writerOf(name);
    if (!writer) {
        return false;
    }
    struct stat status {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    const bool ended = ::kill(*writer, 0) != 0 && errno == ESRCH;
    return ended || std::time(nullptr) - status.st_mtime > kStaleAfterSeconds;
}

void removeAndRaise(int signal) {
    const int saved = errno;
    removeTemporariesInFlight();
    // The handler was reset on entry: once it returns, the signal, blocked
    // until then, ends the process as it would have without us.
    ::raise(signal);
    errno = saved;
}

}  // namespace

namespace access {

Temporary createTemporary(int folder) {
    constexpr int kAttempts = 100;
    Temporary temporary;
    temporary.slot = claimSlot();
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        temporary.name = randomName();
        listInSlot(temporary.slot, folder, temporary.name);
        temporary.fd = ::openat(folder, temporary.name.c_str(),
                                O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
        if (temporary.fd >= 0 || errno != EEXIST) {
            break;
        }
    }
    if (temporary.fd < 0) {
        const int error = errno;
        releaseTemporary(temporary);
        errno = error;
    }
    return temporary;
}

void releaseTemporary(Temporary& temporary) {
    if (temporary.slot >= 0) {
        g_slots[static_cast<std::size_t>(temporary.slot)].state.store(Slot::free,
                                                                      std::memory_order_release);
        temporary.slot = -1;
    }
}

std::vector<std::string> removeStale(int folder) {
    std::vector<std::string> removed;
    const int listing = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (listing < 0) {
        return removed;
    }
    DIR* dir = ::fdopendir(listing);
    if (dir == nullptr) {
        ::close(listing);
        return removed;
    }
    while (const dirent* entry = ::readdir(dir)) {
        if (isStale(folder, entry->d_name) && ::unlinkat(folder, entry->d_name, 0) == 0) {
            removed.emplace_back(entry->d_name);
        }
    }
    ::closedir(dir);
    return removed;
}

void sweepOnce(int folder) {
    // A folder is told by its file system, inode and time of birth, so that
    // one made later under a reused inode number is swept again. Where the
    // file system keeps no time of birth, the time of its last change
    // stands in: such a folder is swept again after every change.
    struct statx status {};
    if (::statx(folder, "", AT_EMPTY_PATH, STATX_INO | STATX_BTIME | STATX_CTIME, &status) != 0) {
        return;
    }
    const statx_timestamp born =
        (status.stx_mask & STATX_BTIME) != 0 ? status.stx_btime : status.stx_ctime;
    const auto key = std::make_tuple(status.stx_dev_major, status.stx_dev_minor, status.stx_ino,
                                     born.tv_sec, born.tv_nsec);
    static std::mutex mutex;
    static std::set<std::remove_const_t<decltype(key)>> swept;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!swept.insert(key).second) {
            return;
        }
    }
    removeStale(folder);
}

}  // namespace access

std::vector<std::string> removeStaleTemporaries(const std::filesystem::path& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return {};
    }
    std::vector<std::string> removed = access::removeStale(fd);
    ::close(fd);
    return removed;
}

void removeTemporariesInFlight() noexcept {
    for (Slot& slot : g_slots) {
        if (slot.state.load(std::memory_order_acquire) == Slot::listed) {
            ::unlinkat(slot.folder, slot.name.data(), 0);
        }
    }
}

void removeTemporariesOnSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction current {};
        if (::sigaction(signal, nullptr, &current) != 0 || (current.sa_flags & SA_SIGINFO) != 0 ||
            current.sa_handler != SIG_DFL) {
            continue;
        }
        struct sigaction handler {};
        handler.sa_handler = removeAndRaise;
        handler.sa_flags = SA_RESETHAND;
        sigemptyset(&handler.sa_mask);
        ::sigaction(signal, &handler, nullptr);
    }
}

}  // namespace fluxgrid
