// Message boxes through the process-wide handler.
#include <fluxgrid/platform/MessageBox.h>

#include "support/Harness.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using fluxgrid::test::MessageBoxRecorder;

/// Installs the default handler for a test and puts back whatever was there.
class DefaultHandler {
  public:
    DefaultHandler() : m_previous(AfxSetMessageBoxHandler(nullptr)) {}
    ~DefaultHandler() { AfxSetMessageBoxHandler(std::move(m_previous)); }
    DefaultHandler(const DefaultHandler&) = delete;
    DefaultHandler& operator=(const DefaultHandler&) = delete;

  private:
    AfxMessageBoxHandler m_previous;
};

TEST(MessageBox, ConstantsHaveTheFrameworkValues) {
    EXPECT_EQ(MB_OK, 0u);
    EXPECT_EQ(MB_YESNO, 4u);
    EXPECT_EQ(IDOK, 1);
    EXPECT_EQ(IDCANCEL, 2);
    EXPECT_EQ(IDYES, 6);
    EXPECT_EQ(IDNO, 7);
}

TEST(MessageBox, DefaultHandlerWritesOneLineToStandardErrorAndAnswersOk) {
    DefaultHandler defaults;
    testing::internal::CaptureStderr();
    const int answer = AfxMessageBox(CString("Wrong file format!!?"));
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_EQ(answer, IDOK);
    EXPECT_EQ(written, "Wrong file format!!?\n");
}

TEST(MessageBox, DefaultHandlerAnswersNoToYesNoQuestion) {
    DefaultHandler defaults;
    testing::internal::CaptureStderr();
    const int answer = AfxMessageBox(CString("Overwrite the sensor?"), MB_YESNO);
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_EQ(answer, IDNO);
    EXPECT_EQ(written, "Overwrite the sensor?\n");
}

TEST(MessageBox, DefaultHandlerAnswersNoToYesNoQuestionWithIcon) {
    DefaultHandler defaults;
    testing::internal::CaptureStderr();
    const int answer = AfxMessageBox(CString("Go on?"), MB_YESNO | MB_ICONQUESTION, 17);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(answer, IDNO);
}

TEST(MessageBox, DefaultHandlerWritesUtf8) {
    DefaultHandler defaults;
    testing::internal::CaptureStderr();
    AfxMessageBox(CString(u"Gr\u00FC\u00DFe \u20AC"));
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_EQ(written,
              "Gr\xC3\xBC\xC3\x9F"
              "e \xE2\x82\xAC\n");
}

TEST(MessageBox, HandlerReceivesTextTypeAndHelpId) {
    std::vector<std::string> texts;
    std::vector<UINT> types;
    std::vector<UINT> helpIds;
    AfxMessageBoxHandler previous =
        AfxSetMessageBoxHandler([&](const CString& text, UINT type, UINT helpId) {
            texts.push_back(text.ToUtf8());
            types.push_back(type);
            helpIds.push_back(helpId);
            return IDYES;
        });
    const int first = AfxMessageBox(CString("first"));
    const int second = AfxMessageBox(CString("second"), MB_YESNO, 3000);
    AfxSetMessageBoxHandler(std::move(previous));
    EXPECT_EQ(first, IDYES);
    EXPECT_EQ(second, IDYES);
    EXPECT_EQ(texts, (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(types, (std::vector<UINT>{MB_OK, MB_YESNO}));
    EXPECT_EQ(helpIds, (std::vector<UINT>{0u, 3000u}));
}

TEST(MessageBox, SetHandlerReturnsThePreviousHandler) {
    DefaultHandler defaults;
    int firstCalls = 0;
    int secondCalls = 0;
    AfxMessageBoxHandler first = [&](const CString&, UINT, UINT) {
        ++firstCalls;
        return 11;
    };
    AfxMessageBoxHandler second = [&](const CString&, UINT, UINT) {
        ++secondCalls;
        return 22;
    };
    const AfxMessageBoxHandler beforeFirst = AfxSetMessageBoxHandler(first);
    const AfxMessageBoxHandler returned = AfxSetMessageBoxHandler(second);
    ASSERT_TRUE(static_cast<bool>(returned));
    EXPECT_EQ(returned(CString("x"), MB_OK, 0), 11);
    EXPECT_EQ(firstCalls, 1);
    EXPECT_EQ(AfxMessageBox(CString("y")), 22);
    EXPECT_EQ(secondCalls, 1);
    EXPECT_EQ(firstCalls, 1);

    // What was there before the first is the default: it answers IDOK.
    ASSERT_TRUE(static_cast<bool>(beforeFirst));
    testing::internal::CaptureStderr();
    EXPECT_EQ(beforeFirst(CString("z"), MB_OK, 0), IDOK);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "z\n");
}

TEST(MessageBox, EmptyHandlerRestoresTheDefault) {
    DefaultHandler defaults;
    int calls = 0;
    AfxSetMessageBoxHandler([&](const CString&, UINT, UINT) {
        ++calls;
        return IDCANCEL;
    });
    const AfxMessageBoxHandler replaced = AfxSetMessageBoxHandler(AfxMessageBoxHandler());
    ASSERT_TRUE(static_cast<bool>(replaced));
    EXPECT_EQ(replaced(CString("a"), MB_OK, 0), IDCANCEL);
    EXPECT_EQ(calls, 1);

    testing::internal::CaptureStderr();
    const int answer = AfxMessageBox(CString("back to the default"));
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_EQ(answer, IDOK);
    EXPECT_EQ(written, "back to the default\n");
    EXPECT_EQ(calls, 1);
}

TEST(MessageBox, HandlerMayReplaceItselfWhileItRuns) {
    DefaultHandler defaults;
    int outerCalls = 0;
    int innerCalls = 0;
    AfxSetMessageBoxHandler([&](const CString&, UINT, UINT) {
        ++outerCalls;
        AfxSetMessageBoxHandler([&](const CString&, UINT, UINT) {
            ++innerCalls;
            return IDNO;
        });
        return IDYES;
    });
    EXPECT_EQ(AfxMessageBox(CString("one")), IDYES);
    EXPECT_EQ(AfxMessageBox(CString("two")), IDNO);
    EXPECT_EQ(outerCalls, 1);
    EXPECT_EQ(innerCalls, 1);
}

TEST(MessageBox, RecorderCapturesWordsAndRestoresThePreviousHandler) {
    DefaultHandler defaults;
    {
        MessageBoxRecorder recorder(IDYES);
        EXPECT_EQ(AfxMessageBox(CString("The opened file is not MEG file or corrupted!")), IDYES);
        ASSERT_EQ(recorder.boxes().size(), 1u);
        EXPECT_EQ(recorder.boxes()[0].text, "The opened file is not MEG file or corrupted!");
        EXPECT_EQ(recorder.boxes()[0].type, MB_OK);
        EXPECT_EQ(recorder.boxes()[0].helpId, 0u);
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(AfxMessageBox(CString("after")), IDOK);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "after\n");
}

}  // namespace
