// Storing: an object put down as the newest version of its kind, in memory
// or through an atomic write.
#include <fluxgrid/io/Files.h>
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/MessageBox.h>

#include <exception>
#include <string>
#include <tuple>
#include <utility>

namespace fluxgrid {

namespace {

FileError storeFailure(FileKind kind, std::string message, std::vector<std::string> boxes) {
    FileError error;
    error.failure = FileFailure::refused;
    error.kind = kind;
    error.version = fileKindInfo(kind).written;
    error.message = std::move(message);
    error.boxes = std::move(boxes);
    return error;
}

}  // namespace

template <FileObject T>
FileResult<std::vector<BYTE>> storeBytes(T& object) {
    constexpr FileKind kind = kFileKindOf<T>;
    MessageBoxCapture capture;
    CMemFile file;
    int result = 0;
    try {
        CArchive ar(&file, CArchive::store);
        result = serializeFile(object, ar);
        ar.Close();
    } catch (const std::exception& e) {
        return storeFailure(kind,
                            std::string("the library refused to store the object: ") + e.what(),
                            capture.take());
    }
    if (result == 0) {
        return storeFailure(kind, "the library refused to store the object", capture.take());
    }
    if (!capture.texts().empty()) {
        return storeFailure(kind,
                            "the library reported " + std::to_string(capture.texts().size()) +
                                " problem(s) while storing; the content cannot be trusted",
                            capture.take());
    }
    return file.Detach();
}

template <FileObject T>
FileResult<std::size_t> storeFile(const std::filesystem::path& path, T& object) {
    FileResult<std::vector<BYTE>> bytes = storeBytes(object);
    if (!bytes) {
        FileError error = bytes.error();
        error.file = path.string();
        return error;
    }
    FileResult<std::size_t> written = writeFileAtomically(path, *bytes);
    if (!written) {
        FileError error = written.error();
        error.kind = kFileKindOf<T>;
        error.version = fileKindInfo(kFileKindOf<T>).written;
        return error;
    }
    return written;
}

namespace detail {

// Every kind's store and atomic store, made here from the list of kinds: the
// addresses taken below instantiate both for each final class, and this
// function, defined with external linkage, keeps them in the library.
template <std::size_t... I>
auto storeEntries(std::index_sequence<I...>) {
    return std::tuple{&storeBytes<std::tuple_element_t<I, FileObjectTypes>>...,
                      &storeFile<std::tuple_element_t<I, FileObjectTypes>>...};
}

auto everyStoreEntry() {
    return storeEntries(std::make_index_sequence<std::tuple_size_v<FileObjectTypes>>());
}

}  // namespace detail

}  // namespace fluxgrid
