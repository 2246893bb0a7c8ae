// Files behind an archive: a disk file and a file in memory.
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/File.h>

#include "support/ScratchDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace {

using fluxgrid::test::ScratchDir;

TEST(CFile, OpeningMissingFileThrowsFileException) {
    ScratchDir dir;
    const std::string path = dir.file("missing.meg");
    try {
        CFile file(path.c_str(), CFile::modeRead);
        ADD_FAILURE() << "a missing file was opened";
    } catch (const CFileException& e) {
        EXPECT_EQ(e.m_cause, CFileException::fileNotFound);
        EXPECT_EQ(e.m_lOsError, ENOENT);
        EXPECT_EQ(e.m_strFileName, CString(path));
    }
}

TEST(CFile, FileExceptionIsACException) {
    ScratchDir dir;
    const std::string path = dir.file("missing.meg");
    EXPECT_THROW(CFile(path.c_str(), CFile::modeRead), CException);
}

TEST(CFile, OpenOfMissingFileReturnsFalse) {
    ScratchDir dir;
    CFile file;
    EXPECT_EQ(file.Open(dir.file("missing.meg").c_str(), CFile::modeRead), FALSE);
}

TEST(CFile, CreateWriteThenReadBack) {
    ScratchDir dir;
    const std::string path = dir.file("coil.meg");
    const std::vector<BYTE> bytes = {0xFF, 0xFE, 0xFF, 0x00, 0x1E, 0x66, 0x34, 0x01};
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        file.Write(bytes.data(), static_cast<UINT>(bytes.size()));
        EXPECT_EQ(file.GetLength(), bytes.size());
    }
    EXPECT_EQ(dir.read("coil.meg"), bytes);

    CFile file(path.c_str(), CFile::modeRead);
    EXPECT_EQ(file.GetLength(), bytes.size());
    std::vector<BYTE> back(20, 0);
    EXPECT_EQ(file.Read(back.data(), 20), bytes.size());
    back.resize(bytes.size());
    EXPECT_EQ(back, bytes);
    EXPECT_EQ(file.Read(back.data(), 4), 0u);
}

TEST(CFile, GetFilePathIsThePathGiven) {
    ScratchDir dir;
    const std::string path = dir.write("named.meg", {1, 2, 3});
    CFile file(path.c_str(), CFile::modeRead);
    EXPECT_EQ(file.GetFilePath(), CString(path));
}

TEST(CFile, GetLengthOfFileOnDisk) {
    ScratchDir dir;
    const std::string path = dir.write("long.meg", std::vector<BYTE>(5000, 0x5A));
    CFile file(path.c_str(), CFile::modeRead);
    EXPECT_EQ(file.GetLength(), 5000u);
}

TEST(CFile, ModeCreateTruncatesExistingFile) {
    ScratchDir dir;
    const std::string path = dir.write("old.meg", std::vector<BYTE>(100, 0x01));
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        const BYTE b = 0x02;
        file.Write(&b, 1);
    }
    EXPECT_EQ(dir.read("old.meg"), std::vector<BYTE>{0x02});
}

TEST(CFile, ModeNoTruncateKeepsExistingContent) {
    ScratchDir dir;
    const std::string path = dir.write("kept.meg", {1, 2, 3, 4});
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite);
        const BYTE b = 9;
        file.Write(&b, 1);
    }
    EXPECT_EQ(dir.read("kept.meg"), (std::vector<BYTE>{9, 2, 3, 4}));
}

TEST(CFile, SeekAndPosition) {
    ScratchDir dir;
    const std::string path = dir.write("seek.meg", {10, 11, 12, 13, 14, 15});
    CFile file(path.c_str(), CFile::modeRead);
    EXPECT_EQ(file.GetPosition(), 0u);
    EXPECT_EQ(file.Seek(4, CFile::begin), 4u);
    BYTE b = 0;
    EXPECT_EQ(file.Read(&b, 1), 1u);
    EXPECT_EQ(b, 14);
    EXPECT_EQ(file.GetPosition(), 5u);
    EXPECT_EQ(file.Seek(-3, CFile::current), 2u);
    EXPECT_EQ(file.SeekToEnd(), 6u);
    file.SeekToBegin();
    EXPECT_EQ(file.Read(&b, 1), 1u);
    EXPECT_EQ(b, 10);
}

TEST(CFile, LargeReadAndWriteArriveWhole) {
    ScratchDir dir;
    const std::string path = dir.file("large.meg");
    std::vector<BYTE> bytes(200000);
    for (std::size_t k = 0; k < bytes.size(); ++k) {
        bytes[k] = static_cast<BYTE>(k * 31 + 7);
    }
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        file.Write(bytes.data(), static_cast<UINT>(bytes.size()));
    }
    CFile file(path.c_str(), CFile::modeRead);
    std::vector<BYTE> back(bytes.size());
    EXPECT_EQ(file.Read(back.data(), static_cast<UINT>(back.size())), bytes.size());
    EXPECT_EQ(back, bytes);
}

TEST(CFile, CloseThenReopen) {
    ScratchDir dir;
    const std::string first = dir.write("a.meg", {1});
    const std::string second = dir.write("b.meg", {2, 2});
    CFile file(first.c_str(), CFile::modeRead);
    file.Close();
    EXPECT_EQ(file.Open(second.c_str(), CFile::modeRead), TRUE);
    EXPECT_EQ(file.GetLength(), 2u);
    EXPECT_EQ(file.GetFilePath(), CString(second));
}

TEST(CMemFile, DefaultIsEmptyAndGrowsAsWritten) {
    CMemFile file;
    EXPECT_EQ(file.GetLength(), 0u);
    EXPECT_EQ(file.GetPosition(), 0u);
    const BYTE first[3] = {1, 2, 3};
    file.Write(first, 3);
    EXPECT_EQ(file.GetLength(), 3u);
    std::vector<BYTE> many(10000, 0x44);
    file.Write(many.data(), static_cast<UINT>(many.size()));
    EXPECT_EQ(file.GetLength(), 10003u);
    EXPECT_EQ(file.GetPosition(), 10003u);
    file.SeekToBegin();
    BYTE back[4] = {};
    EXPECT_EQ(file.Read(back, 4), 4u);
    EXPECT_EQ(back[0], 1);
    EXPECT_EQ(back[2], 3);
    EXPECT_EQ(back[3], 0x44);
}

TEST(CMemFile, ConstructedFromBytesHoldsACopy) {
    BYTE source[4] = {0xA1, 0xB2, 0xC3, 0xD4};
    CMemFile file(source, 4);
    source[0] = 0;
    source[3] = 0;
    EXPECT_EQ(file.GetLength(), 4u);
    EXPECT_EQ(file.GetPosition(), 0u);
    BYTE back[4] = {};
    EXPECT_EQ(file.Read(back, 4), 4u);
    EXPECT_EQ(back[0], 0xA1);
    EXPECT_EQ(back[3], 0xD4);
    EXPECT_EQ(file.Data(), (std::vector<BYTE>{0xA1, 0xB2, 0xC3, 0xD4}));
}

TEST(CMemFile, ReadAtEndTakesWhatIsLeft) {
    const BYTE source[5] = {1, 2, 3, 4, 5};
    CMemFile file(source, 5);
    BYTE back[8] = {};
    EXPECT_EQ(file.Read(back, 3), 3u);
    EXPECT_EQ(file.Read(back, 8), 2u);
    EXPECT_EQ(back[0], 4);
    EXPECT_EQ(back[1], 5);
    EXPECT_EQ(file.Read(back, 8), 0u);
}

TEST(CMemFile, WriteInsideOverwritesAndBeyondGrows) {
    const BYTE source[4] = {1, 2, 3, 4};
    CMemFile file(source, 4);
    file.Seek(2, CFile::begin);
    const BYTE more[4] = {7, 8, 9, 10};
    file.Write(more, 4);
    EXPECT_EQ(file.Data(), (std::vector<BYTE>{1, 2, 7, 8, 9, 10}));
}

TEST(CMemFile, SeekBeforeStartThrowsFileException) {
    CMemFile file;
    EXPECT_THROW(file.Seek(-1, CFile::begin), CFileException);
}

TEST(CMemFile, HasNoFilePath) {
    CMemFile file;
    EXPECT_TRUE(file.GetFilePath().IsEmpty());
}

TEST(CMemFile, SetLengthCutsAndKeepsPositionInside) {
    const BYTE source[6] = {1, 2, 3, 4, 5, 6};
    CMemFile file(source, 6);
    file.SeekToEnd();
    file.SetLength(2);
    EXPECT_EQ(file.GetLength(), 2u);
    EXPECT_EQ(file.GetPosition(), 2u);
    EXPECT_EQ(file.Data(), (std::vector<BYTE>{1, 2}));
}

TEST(CMemFile, WritesOverTheContentThenAppend) {
    CMemFile file;
    const BYTE first[] = {1, 2, 3, 4};
    file.Write(first, 4);
    file.Seek(2, CFile::begin);
    const BYTE second[] = {7, 8, 9};
    file.Write(second, 3);
    EXPECT_EQ(file.Data(), (std::vector<BYTE>{1, 2, 7, 8, 9}));
    EXPECT_EQ(file.GetPosition(), 5u);
}

TEST(CMemFile, WritingPastTheEndLeavesZerosInTheGap) {
    CMemFile file;
    file.Seek(2, CFile::begin);
    const BYTE one = 5;
    file.Write(&one, 1);
    EXPECT_EQ(file.Data(), (std::vector<BYTE>{0, 0, 5}));
}

TEST(CMemFile, DetachHandsTheContentOverAndEmptiesTheFile) {
    CMemFile file;
    const BYTE bytes[] = {1, 2, 3};
    file.Write(bytes, 3);
    EXPECT_EQ(file.Detach(), (std::vector<BYTE>{1, 2, 3}));
    EXPECT_EQ(file.GetLength(), 0u);
    EXPECT_EQ(file.GetPosition(), 0u);
}

TEST(CMemViewFile, ReadsTheCallersBytesInPlace) {
    const std::vector<BYTE> bytes = {10, 20, 30, 40};
    CMemViewFile file(bytes);
    const BYTE* first = nullptr;
    const BYTE* last = nullptr;
    ASSERT_TRUE(file.GetReadView(first, last));
    EXPECT_EQ(first, bytes.data());
    EXPECT_EQ(last, bytes.data() + bytes.size());
    file.ConsumeReadView(1);
    BYTE out[8] = {};
    EXPECT_EQ(file.Read(out, 8), 3u);
    EXPECT_EQ(out[0], 20);
    EXPECT_EQ(out[2], 40);
    EXPECT_EQ(file.Read(out, 1), 0u);
    EXPECT_EQ(file.Seek(-1, CFile::end), 3u);
    EXPECT_EQ(file.GetLength(), 4u);
}

TEST(CMemViewFile, RefusesToWrite) {
    const std::vector<BYTE> bytes = {1};
    CMemViewFile file(bytes);
    const BYTE one = 2;
    EXPECT_THROW(file.Write(&one, 1), CFileException);
    EXPECT_EQ(bytes[0], 1);
}

}  // namespace
