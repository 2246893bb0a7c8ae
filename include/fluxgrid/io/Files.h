/// \file Files.h
/// What a host needs around the entries of the six file kinds: telling a
/// file's kind and version from its first bytes, loading it into the object
/// of its kind with the message boxes of that load captured, every failure
/// returned as a value, and storing an object atomically.
///
/// ```cpp
/// auto loaded = fluxgrid::loadFile("MLC3.sensor");
/// if (!loaded) {
///     std::cerr << loaded.error().describe() << '\n';   // "MLC3.sensor: truncated: ..."
///     return 1;
/// }
/// if (CMEGSensorqv* sensor = loaded->get<CMEGSensorqv>()) {
///     sensor->setCoilsDewar2work();
/// }
/// ```
///
/// A load never shows a message box and never touches the handler of
/// another thread: the boxes that the library raises during the load are
/// answered (OK, or No to a Yes/No question: the answers that change
/// nothing) and handed back in the result. Any box makes the load a failure,
/// because the content cannot then be trusted.
#pragma once

#include <fluxgrid/frame/FileKinds.h>
#include <fluxgrid/io/FileObjects.h>
#include <fluxgrid/platform/Types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace fluxgrid {

/// Why the work on a file failed.
enum class FileFailure {
    /// No file by that name.
    missing,
    /// A folder, device, FIFO or socket: only regular files are read.
    notRegularFile,
    /// Larger than the limit of the call.
    tooLarge,
    /// The system refused to open or read it.
    readError,
    /// Empty, or it opens with a magic of none of the six kinds.
    badMagic,
    /// Its version is not one its kind accepts.
    refusedVersion,
    /// It ends before its body does: the stream's `endOfFile`.
    truncated,
    /// The library answered 0 or raised a message box while loading, or
    /// refused to store the object.
    refused,
    /// The stream or the library raised another exception.
    corrupt,
    /// The system refused to write it.
    writeError,
    /// Another program changed or replaced it after it was read, so that a
    /// write meant to replace what was read would lose that change.
    changed,
};

/// The word for a failure: "missing", "not a regular file", ...
std::string_view failureWord(FileFailure failure);
/// The stable code of a failure, for machines: "missing",
/// "not-regular-file", "too-large", "read-error", "bad-magic",
/// "refused-version", "truncated", "refused", "corrupt", "write-error" or
/// "changed".
std::string_view failureCode(FileFailure failure);

/// A failure of the work on one file, with all that is known of it.
struct FileError {
    FileFailure failure = FileFailure::corrupt;
    /// The file's name as the caller gave it; empty for bytes without a name.
    std::string file;
    /// The kind and version, where the first bytes told them.
    std::optional<FileKind> kind;
    std::optional<int> version;
    /// One line in the library's own words, without the file's name, e.g.
    /// "truncated: the file ends inside its body (end of file after 812
    /// bytes)".
    std::string message;
    /// The texts of the message boxes that the call raised, in order.
    std::vector<std::string> boxes;
    /// The system's error number behind a `writeError` (ENOSPC for a full
    /// device); 0 where none is known.
    int systemError = 0;

    /// "FILE: message", or the message alone without a name.
    std::string describe() const;
};

/// Raised by `FileResult::value` on a failure.
class FileException : public std::runtime_error {
  public:
    explicit FileException(FileError error)
        : std::runtime_error(error.describe()), m_error(std::move(error)) {}
    const FileError& error() const { return m_error; }

  private:
    FileError m_error;
};

/// A value or the failure that took its place.
template <class T>
class FileResult {
  public:
    FileResult(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    FileResult(FileError error) : m_state(std::in_place_index<1>, std::move(error)) {}

    bool ok() const { return m_state.index() == 0; }
    explicit operator bool() const { return ok(); }

    /// The value; `FileException` on a failure.
    T& value() & {
        check();
        return std::get<0>(m_state);
    }
    const T& value() const& {
        check();
        return std::get<0>(m_state);
    }
    T&& value() && {
        check();
        return std::get<0>(std::move(m_state));
    }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }

    /// The failure; only valid when `ok()` is false.
    const FileError& error() const { return std::get<1>(m_state); }

  private:
    void check() const {
        if (!ok()) {
            throw FileException(std::get<1>(m_state));
        }
    }

    std::variant<T, FileError> m_state;
};

/// The frame of a file: the kind its magic names and its version.
struct FileHeader {
    FileKind kind;
    int version;
};

/// Tells the kind and version from the first bytes of a file (22 to 42
/// bytes suffice for every kind) without loading it. `badMagic` for empty
/// bytes and a magic of no kind, `truncated` when the bytes end inside the
/// frame: before the version, or inside the magic where the bytes are how
/// the wide magic of a kind opens (the kind is then told if only one
/// magic opens that way). `name` only labels the failure.
FileResult<FileHeader> readHeader(std::span<const BYTE> firstBytes, std::string_view name = {});
/// The same for a file, reading no more than its first 256 bytes, unless a
/// foreign string longer than that opens the file: then the whole file is
/// read to tell it from a truncated one. The failures of `loadFile` for
/// what is not a regular file.
FileResult<FileHeader> readHeader(const std::filesystem::path& path);

/// A loaded file.
struct LoadedFile {
    std::string file;
    FileKind kind = FileKind::coil;
    /// The version of the file's frame.
    int version = 0;
    /// Bytes in the file.
    std::size_t size = 0;
    /// Bytes the load took; fewer than `size` leaves bytes unread behind
    /// the body.
    std::size_t consumed = 0;
    FileObjectPtr object;
    /// The texts of the message boxes of a load that `LoadOptions::
    /// keepWithBoxes` let through, in order; otherwise empty.
    std::vector<std::string> boxes;

    /// The object, if it is a `T`; else null.
    template <FileObject T>
    T* get() const {
        auto* held = std::get_if<std::unique_ptr<T>>(&object);
        return held != nullptr ? held->get() : nullptr;
    }
};

/// The largest file that a load takes unless told otherwise: 1 GiB.
inline constexpr std::uintmax_t kDefaultMaxFileBytes = std::uintmax_t{1} << 30;

struct LoadOptions {
    /// Files larger than this are refused with `tooLarge` before a byte is
    /// read; so are more bytes than this given to `loadBytes`.
    std::uintmax_t maxBytes = kDefaultMaxFileBytes;
    /// Load through the entry of this kind whatever the magic says, so that
    /// a file of another kind is refused in that entry's own words. The
    /// version is checked against the kind's list only when the frame is
    /// that of this kind; the failure's kind and version are still what the
    /// first bytes told.
    std::optional<FileKind> as;
    /// A load whose entry answers 1 but raises message boxes (a nested
    /// record it refused) is a `refused` failure unless this is set; then
    /// it gives the object, with the boxes in `LoadedFile::boxes`.
    bool keepWithBoxes = false;
};

/// Loads a regular file into the object of its kind.
FileResult<LoadedFile> loadFile(const std::filesystem::path& path, const LoadOptions& options = {});
/// Loads bytes into the object of their kind; `name` labels the result.
FileResult<LoadedFile> loadBytes(std::span<const BYTE> bytes, std::string_view name = {},
                                 const LoadOptions& options = {});
/// Loads what can be read from the open descriptor `fd` up to its end:
/// standard input, a pipe or a FIFO, as well as a regular file. Read in
/// pieces, so that a stream that never ends is refused with `tooLarge` as
/// soon as it goes past `options.maxBytes`; a regular file is measured
/// first, as by `loadFile`. `fd` stays open. `name` labels the result.
FileResult<LoadedFile> loadDescriptor(int fd, std::string_view name,
                                      const LoadOptions& options = {});

/// The object stored as the newest version of its kind, in memory.
/// `refused` when the library answers 0 or raises an exception (a head
/// localization whose first list outnumbers its fourth cannot be stored).
template <FileObject T>
FileResult<std::vector<BYTE>> storeBytes(T& object);

/// What tells whether a file is still the one that was read: the same
/// device and inode (not another file renamed over it), the same size and
/// the same modification time (not written into since).
struct FileStamp {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;

    bool operator==(const FileStamp&) const = default;
};

/// The stamp of the file that `path` names, through symbolic links; none
/// when there is no such file. Taken before a file is read, it tells any
/// change from then on.
std::optional<FileStamp> fileStamp(const std::filesystem::path& path);

/// How an atomic write treats the file that stands at its name.
struct WriteOptions {
    /// Replace a file that has several hard links: the new content then
    /// shows under this name alone, and the other names keep the old one.
    /// By default such a file is left alone and the write fails, saying why.
    bool breakHardLinks = false;
};

/// Writes `bytes` as the whole content of `path`, as what stands there
/// asks:
/// - no file, or a regular file: replaced atomically, so that the name only
///   ever shows the old content or the whole new one. A temporary file in
///   the same folder is written, flushed to the disk and renamed over it,
///   and removed on every failure. An existing file keeps its permissions,
///   its owner and group (as far as the process may set them) and its
///   extended attributes; one with several hard links is left alone (see
///   `WriteOptions::breakHardLinks`).
/// - a symbolic link: written through. The link stays and the end of its
///   chain is written as above.
/// - a device or a FIFO: written straight into, never replaced.
///
/// Returns the bytes written, or `writeError`.
FileResult<std::size_t> writeFileAtomically(const std::filesystem::path& path,
                                            std::span<const BYTE> bytes,
                                            const WriteOptions& options = {});

/// Atomic writes of many files that share their flushes to the disk. Each
/// `add` writes its temporary file at once, from any number of threads;
/// `commit` then flushes them all to the disk together (one flush of each
/// file system they lie on, or of the file alone when it is the only one),
/// renames each over its target and flushes each folder once, so that every
/// file is on the disk before its name shows it. Each temporary stays open
/// until the commit: keep batches to some hundreds of files. A batch
/// destroyed before `commit` removes its temporaries and leaves every
/// target as it was.
///
/// ```cpp
/// fluxgrid::AtomicWriteBatch batch;
/// for (const auto& [name, bytes] : outputs) {
///     if (auto added = batch.add(name, bytes); !added) {
///         report(added.error());
///     }
/// }
/// for (const auto& written : batch.commit()) { ... }
/// ```
class AtomicWriteBatch {
  public:
    explicit AtomicWriteBatch(const WriteOptions& options = {});
    ~AtomicWriteBatch();
    AtomicWriteBatch(const AtomicWriteBatch&) = delete;
    AtomicWriteBatch& operator=(const AtomicWriteBatch&) = delete;

    /// Writes `bytes` toward `path` as `writeFileAtomically` does, up to the
    /// flush and the rename; a device or FIFO is written straight away.
    /// Returns the write's place among the results of `commit`, or its
    /// failure, after which nothing of it is left.
    ///
    /// With `unchanged`, the file is replaced only if it still has that
    /// stamp when its turn to be renamed comes (a regular file that was
    /// read before): a file that another program changed, replaced or
    /// removed since is left as it then is, and its result is a `changed`
    /// failure. What the system cannot rule out is a change in the moment
    /// between that last look and the rename.
    FileResult<std::size_t> add(const std::filesystem::path& path, std::span<const BYTE> bytes,
                                const std::optional<FileStamp>& unchanged = std::nullopt);

    /// Flushes, renames and flushes the folders. One result per successful
    /// `add`, at its place: the bytes written, or the failure (the target
    /// then keeps its old content and no temporary is left). The batch is
    /// empty afterwards.
    std::vector<FileResult<std::size_t>> commit();

  private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// The temporary files of atomic writes are named
/// ".fluxgrid-PID-XXXXXX.tmp": the writing process's id and six random
/// letters or digits, short enough to lie beside a file of any legal name.
/// The first write of a process into a folder removes the temporaries there
/// that no process is writing any more, as `removeStaleTemporaries` does.
///
/// Removes from `folder` the temporary files of atomic writes that are no
/// longer in use: those whose process has ended, and those untouched for a
/// day (the id of their process may since have gone to another one). Names
/// of any other form, and anything but regular files, are never touched.
/// Returns the names removed.
std::vector<std::string> removeStaleTemporaries(const std::filesystem::path& folder);

/// Removes the temporary files of every atomic write in flight in this
/// process (the first 1024 at once; any beyond are left to a later run's
/// sweep). Makes only async-signal-safe calls: meant for a signal handler.
void removeTemporariesInFlight() noexcept;

/// Handles SIGINT, SIGTERM and SIGHUP by removing the temporary files in
/// flight and then ending the process by the same signal. A signal that is
/// ignored or already has a handler is left as it is.
void removeTemporariesOnSignals();

/// `storeBytes`, then `writeFileAtomically`.
template <FileObject T>
FileResult<std::size_t> storeFile(const std::filesystem::path& path, T& object);

}  // namespace fluxgrid
