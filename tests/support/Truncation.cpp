#include "support/Truncation.h"

#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/File.h>

#include "support/Harness.h"

#include <gtest/gtest.h>

#include <memory>

namespace fluxgrid::test {

std::vector<std::size_t> everyProperPrefix(std::size_t size) {
    std::vector<std::size_t> lengths;
    for (std::size_t length = 0; length < size; ++length) {
        lengths.push_back(length);
    }
    return lengths;
}

std::vector<std::size_t> denseThenStridedPrefixes(std::size_t size, std::size_t dense,
                                                  std::size_t stride) {
    std::vector<std::size_t> lengths;
    for (std::size_t length = 0; length < dense; ++length) {
        lengths.push_back(length);
    }
    for (std::size_t length = dense; length < size; length += stride) {
        lengths.push_back(length);
    }
    lengths.push_back(size - 1);
    return lengths;
}

void expectEveryTruncationRaisesEndOfFile(const std::vector<BYTE>& bytes,
                                          const std::function<void(CArchive&)>& load,
                                          const TruncationSweep& sweep) {
    const std::vector<std::size_t> lengths =
        sweep.lengths.empty() ? everyProperPrefix(bytes.size()) : sweep.lengths;
    for (std::size_t length : lengths) {
        ASSERT_LT(length, bytes.size()) << "a cut must be shorter than the whole";
        std::vector<BYTE> prefix(bytes.begin(),
                                 bytes.begin() + static_cast<std::ptrdiff_t>(length));
        std::unique_ptr<CFile> file;
        if (sweep.piece == 0) {
            file = std::make_unique<CMemFile>(prefix.data(), static_cast<UINT>(prefix.size()));
        } else {
            file = std::make_unique<TrickleFile>(std::move(prefix), sweep.piece);
        }
        try {
            CArchive ar(file.get(), CArchive::load, sweep.bufferSize);
            load(ar);
            ADD_FAILURE() << "no exception for a prefix of " << length << " bytes";
        } catch (const CArchiveException& e) {
            EXPECT_EQ(e.m_cause, CArchiveException::endOfFile)
                << "prefix of " << length << " bytes";
        }
        if (sweep.afterEach) {
            sweep.afterEach(length);
        }
    }
}

}  // namespace fluxgrid::test
