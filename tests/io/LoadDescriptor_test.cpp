// Loading from an open descriptor: a pipe that delivers a file in pieces
// loads as the file does, a stream that never ends is refused once
// it goes past the limit, and a regular file is measured before it is read.
#include <fluxgrid/io/Files.h>

#include "FileTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace {

using fluxgrid::FileError;
using fluxgrid::FileFailure;
using fluxgrid::LoadOptions;
using fluxgrid::test::failureOf;
using fluxgrid::test::readSample;
using fluxgrid::test::samplePath;

// A pipe whose write end a thread feeds; both ends closed when it goes.
class FedPipe {
  public:
    // Writes `bytes` in pieces of `piece` bytes, then closes the write end.
    FedPipe(std::vector<BYTE> bytes, std::size_t piece) {
        open();
        m_writer = std::thread([this, bytes = std::move(bytes), piece] {
            for (std::size_t at = 0; at < bytes.size(); at += piece) {
                const std::size_t count = std::min(piece, bytes.size() - at);
                if (::write(m_ends[1], bytes.data() + at, count) != static_cast<ssize_t>(count)) {
                    break;
                }
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
            closeWriteEnd();
        });
    }
    struct Endless {};
    // Writes zeros until the reader goes away; counts what it wrote.
    explicit FedPipe(Endless) {
        open();
        m_writer = std::thread([this] {
            const std::vector<BYTE> zeros(4096, 0);
            ssize_t n = 0;
            while ((n = ::write(m_ends[1], zeros.data(), zeros.size())) > 0) {
                m_written += static_cast<std::size_t>(n);
            }
            closeWriteEnd();
        });
    }
    ~FedPipe() {
        closeReadEnd();
        m_writer.join();
    }
    FedPipe(const FedPipe&) = delete;
    FedPipe& operator=(const FedPipe&) = delete;

    int readEnd() const { return m_ends[0]; }
    // Closing it ends an endless writer.
    void closeReadEnd() {
        if (m_ends[0] >= 0) {
            ::close(m_ends[0]);
            m_ends[0] = -1;
        }
    }
    std::size_t written() const { return m_written; }

  private:
    void open() {
        ::signal(SIGPIPE, SIG_IGN);
        if (::pipe(m_ends) != 0) {
            throw std::runtime_error("cannot make a pipe");
        }
    }
    void closeWriteEnd() { ::close(m_ends[1]); }

    int m_ends[2] = {-1, -1};
    std::thread m_writer;
    std::atomic<std::size_t> m_written{0};
};

TEST(LoadDescriptor, PipeDeliveringAFileInPiecesLoadsAsTheFileDoes) {
    for (const auto& good : fluxgrid::test::goodSamples()) {
        SCOPED_TRACE(good.name);
        FedPipe pipe(readSample(good.name), 997);
        const auto loaded = fluxgrid::loadDescriptor(pipe.readEnd(), "-");
        ASSERT_TRUE(loaded.ok()) << loaded.error().describe();
        EXPECT_EQ(loaded->file, "-");
        EXPECT_EQ(loaded->kind, good.kind);
        EXPECT_EQ(loaded->version, good.version);
        EXPECT_EQ(loaded->size, readSample(good.name).size());
    }
}

TEST(LoadDescriptor, EndlessStreamIsRefusedOnceItGoesPastTheLimit) {
    FedPipe pipe(FedPipe::Endless{});
    LoadOptions options;
    options.maxBytes = 1 << 20;
    const FileError error = failureOf(fluxgrid::loadDescriptor(pipe.readEnd(), "-", options));
    EXPECT_EQ(error.failure, FileFailure::tooLarge);
    EXPECT_EQ(error.file, "-");
    EXPECT_EQ(error.message, "larger than the limit of 1048576 bytes");
    // Read no further than the limit; what the writer put down beyond that
    // waits in the pipe's buffer.
    EXPECT_LE(pipe.written(), options.maxBytes + (1u << 18));
}

TEST(LoadDescriptor, StreamOfExactlyTheLimitIsTaken) {
    const std::vector<BYTE> bytes = readSample("coil-20211230.coil");
    FedPipe pipe(bytes, 100);
    LoadOptions options;
    options.maxBytes = bytes.size();
    EXPECT_TRUE(fluxgrid::loadDescriptor(pipe.readEnd(), "-", options).ok());
}

TEST(LoadDescriptor, RegularFileLargerThanTheLimitIsRefusedBeforeItIsRead) {
    const int fd = ::open(samplePath("coil-20211230.coil").c_str(), O_RDONLY);
    ASSERT_GE(fd, 0);
    LoadOptions options;
    options.maxBytes = 10;
    const FileError error = failureOf(fluxgrid::loadDescriptor(fd, "coil", options));
    EXPECT_EQ(error.failure, FileFailure::tooLarge);
    // Nothing was read: the descriptor is still at the start, and open.
    EXPECT_EQ(::lseek(fd, 0, SEEK_CUR), 0);
    EXPECT_TRUE(fluxgrid::loadDescriptor(fd, "coil").ok());
    ::close(fd);
}

TEST(LoadDescriptor, EmptyStreamIsOfNoKind) {
    FedPipe pipe({}, 1);
    const FileError error = failureOf(fluxgrid::loadDescriptor(pipe.readEnd(), "-"));
    EXPECT_EQ(error.failure, FileFailure::badMagic);
}

TEST(LoadDescriptor, DescriptorThatCannotBeReadIsAReadError) {
    const int fd = ::open(samplePath("").c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(fd, 0);
    const FileError error = failureOf(fluxgrid::loadDescriptor(fd, "-"));
    ::close(fd);
    EXPECT_EQ(error.failure, FileFailure::readError);
    EXPECT_EQ(error.message, "cannot read: Is a directory");
}

}  // namespace
