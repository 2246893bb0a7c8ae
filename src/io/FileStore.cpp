// Storing: an object put down as the newest version of its kind, in memory
// or through an atomic write.
#include <fluxgrid/io/Files.h>
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/MessageBox.h>

#include <exception>
#include <string>
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
    return file.Data();
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

// The six final classes, one pair each.
template FileResult<std::vector<BYTE>> storeBytes<CMagCoilqv>(CMagCoilqv&);
template FileResult<std::vector<BYTE>> storeBytes<CMagVaporqv>(CMagVaporqv&);
template FileResult<std::vector<BYTE>> storeBytes<CMegSquidqv>(CMegSquidqv&);
template FileResult<std::vector<BYTE>> storeBytes<CMegOpmqv>(CMegOpmqv&);
template FileResult<std::vector<BYTE>> storeBytes<CMEGSensorqv>(CMEGSensorqv&);
template FileResult<std::vector<BYTE>> storeBytes<CHeadLocalizationqv>(CHeadLocalizationqv&);

template FileResult<std::size_t> storeFile<CMagCoilqv>(const std::filesystem::path&, CMagCoilqv&);
template FileResult<std::size_t> storeFile<CMagVaporqv>(const std::filesystem::path&, CMagVaporqv&);
template FileResult<std::size_t> storeFile<CMegSquidqv>(const std::filesystem::path&, CMegSquidqv&);
template FileResult<std::size_t> storeFile<CMegOpmqv>(const std::filesystem::path&, CMegOpmqv&);
template FileResult<std::size_t> storeFile<CMEGSensorqv>(const std::filesystem::path&,
                                                         CMEGSensorqv&);
template FileResult<std::size_t> storeFile<CHeadLocalizationqv>(const std::filesystem::path&,
                                                                CHeadLocalizationqv&);

}  // namespace fluxgrid
