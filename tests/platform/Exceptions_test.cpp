// The framework's exceptions: thrown by value, caught by reference.
#include <fluxgrid/platform/Exceptions.h>

#include <gtest/gtest.h>

#include <exception>
#include <string>

namespace {

TEST(CArchiveException, CauseEnumeratorsHaveTheFrameworkValues) {
    EXPECT_EQ(CArchiveException::none, 0);
    EXPECT_EQ(CArchiveException::genericException, 1);
    EXPECT_EQ(CArchiveException::readOnly, 2);
    EXPECT_EQ(CArchiveException::endOfFile, 3);
    EXPECT_EQ(CArchiveException::writeOnly, 4);
    EXPECT_EQ(CArchiveException::badIndex, 5);
    EXPECT_EQ(CArchiveException::badClass, 6);
    EXPECT_EQ(CArchiveException::badSchema, 7);
}

TEST(CArchiveException, ConstructedCarriesCauseAndFileName) {
    const CArchiveException e(CArchiveException::badSchema, CString(u"/data/s.meg"));
    EXPECT_EQ(e.m_cause, 7);
    EXPECT_EQ(e.m_strFileName, u"/data/s.meg");
}

TEST(CArchiveException, DefaultCauseIsNoneWithoutFileName) {
    const CArchiveException e;
    EXPECT_EQ(e.m_cause, CArchiveException::none);
    EXPECT_TRUE(e.m_strFileName.IsEmpty());
}

TEST(CArchiveException, ThrowWithoutFileNameLeavesNameEmpty) {
    try {
        AfxThrowArchiveException(CArchiveException::endOfFile);
        ADD_FAILURE() << "nothing thrown";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
        EXPECT_TRUE(e.m_strFileName.IsEmpty());
    }
}

TEST(CArchiveException, ThrowWithNullFileNameLeavesNameEmpty) {
    try {
        AfxThrowArchiveException(CArchiveException::genericException, nullptr);
        ADD_FAILURE() << "nothing thrown";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::genericException);
        EXPECT_TRUE(e.m_strFileName.IsEmpty());
    }
}

TEST(CArchiveException, ThrowWithFileNameCarriesIt) {
    try {
        AfxThrowArchiveException(CArchiveException::readOnly, u"/data/coil \u00E9.meg");
        ADD_FAILURE() << "nothing thrown";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::readOnly);
        EXPECT_EQ(e.m_strFileName, u"/data/coil \u00E9.meg");
    }
}

TEST(CArchiveException, CaughtAsCExceptionAndStdException) {
    bool caughtAsCException = false;
    try {
        AfxThrowArchiveException(CArchiveException::writeOnly);
    } catch (CException& e) {
        caughtAsCException = true;
        auto* archive = dynamic_cast<CArchiveException*>(&e);
        ASSERT_NE(archive, nullptr);
        EXPECT_EQ(archive->m_cause, CArchiveException::writeOnly);
    }
    EXPECT_TRUE(caughtAsCException);
    EXPECT_THROW(AfxThrowArchiveException(CArchiveException::endOfFile), std::exception);
}

TEST(CArchiveException, ThrownByValueSurvivesTheThrowSite) {
    // The file name lives in the exception, not in the stack frame it came from.
    CArchiveException caught;
    try {
        const std::u16string name = u"/tmp/transient.meg";
        AfxThrowArchiveException(CArchiveException::endOfFile, name.c_str());
    } catch (const CArchiveException& e) {
        caught = e;
    }
    EXPECT_EQ(caught.m_cause, CArchiveException::endOfFile);
    EXPECT_EQ(caught.m_strFileName, u"/tmp/transient.meg");
}

TEST(CArchiveException, WhatNamesCauseAndFile) {
    const CArchiveException e(CArchiveException::endOfFile, CString("/data/x.meg"));
    const std::string what = e.what();
    EXPECT_NE(what.find('3'), std::string::npos) << what;
    EXPECT_NE(what.find("/data/x.meg"), std::string::npos) << what;
}

TEST(CInvalidArgException, ThrownByAfxThrowInvalidArgException) {
    EXPECT_THROW(AfxThrowInvalidArgException(), CInvalidArgException);
}

TEST(CInvalidArgException, CaughtAsCException) {
    bool caught = false;
    try {
        AfxThrowInvalidArgException();
    } catch (const CException& e) {
        caught = dynamic_cast<const CInvalidArgException*>(&e) != nullptr;
    }
    EXPECT_TRUE(caught);
}

TEST(CInvalidArgException, IsNotAnArchiveException) {
    bool caughtAsArchive = false;
    bool caughtAsInvalidArg = false;
    try {
        AfxThrowInvalidArgException();
    } catch (const CArchiveException&) {
        caughtAsArchive = true;
    } catch (const CInvalidArgException&) {
        caughtAsInvalidArg = true;
    }
    EXPECT_FALSE(caughtAsArchive);
    EXPECT_TRUE(caughtAsInvalidArg);
}

TEST(CMemoryException, ThrownByAfxThrowMemoryException) {
    EXPECT_THROW(AfxThrowMemoryException(), CMemoryException);
    EXPECT_THROW(AfxThrowMemoryException(), CException);
}

TEST(CFileException, CarriesCauseOsErrorAndFileName) {
    const CFileException e(CFileException::accessDenied, 13, CString("/root/x.meg"));
    EXPECT_EQ(e.m_cause, CFileException::accessDenied);
    EXPECT_EQ(e.m_lOsError, 13);
    EXPECT_EQ(e.m_strFileName, u"/root/x.meg");
    const std::string what = e.what();
    EXPECT_NE(what.find("/root/x.meg"), std::string::npos) << what;
}

TEST(CFileException, CaughtAsCException) {
    EXPECT_THROW(throw CFileException(CFileException::fileNotFound, 2, CString()), CException);
}

}  // namespace
