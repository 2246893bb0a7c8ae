// Message boxes through the process-wide handler and the scoped handlers of
// one thread, and both while other threads show boxes.
#include <fluxgrid/platform/MessageBox.h>

#include "support/Harness.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using fluxgrid::ScopedMessageBoxHandler;
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

// ---------------------------------------------------------------------------
// Scoped handlers: one thread's boxes only.

/// A handler that counts its boxes and answers `answer`.
AfxMessageBoxHandler counting(std::atomic<int>& count, int answer) {
    return [&count, answer](const CString&, UINT, UINT) {
        ++count;
        return answer;
    };
}

TEST(ScopedMessageBoxHandler, TakesTheBoxesOfItsThreadAndRestoresOnScopeExit) {
    std::atomic<int> process{0};
    std::atomic<int> scoped{0};
    const AfxMessageBoxHandler previous = AfxSetMessageBoxHandler(counting(process, 11));
    {
        ScopedMessageBoxHandler scope(counting(scoped, 22));
        EXPECT_EQ(AfxMessageBox(CString("mine")), 22);
        EXPECT_EQ(scoped, 1);
        EXPECT_EQ(process, 0);
    }
    EXPECT_EQ(AfxMessageBox(CString("after")), 11);
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(scoped, 1);
    EXPECT_EQ(process, 1);
}

TEST(ScopedMessageBoxHandler, BoxesOfAnotherThreadPassItBy) {
    std::atomic<int> process{0};
    std::atomic<int> scoped{0};
    const AfxMessageBoxHandler previous = AfxSetMessageBoxHandler(counting(process, 11));
    int otherAnswer = 0;
    {
        ScopedMessageBoxHandler scope(counting(scoped, 22));
        std::thread other([&] { otherAnswer = AfxMessageBox(CString("theirs")); });
        other.join();
        EXPECT_EQ(AfxMessageBox(CString("mine")), 22);
    }
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(otherAnswer, 11);
    EXPECT_EQ(process, 1);
    EXPECT_EQ(scoped, 1);
}

TEST(ScopedMessageBoxHandler, ProcessWideChangeIsNotSeenUnderAScopedHandler) {
    std::atomic<int> process{0};
    std::atomic<int> scoped{0};
    ScopedMessageBoxHandler scope(counting(scoped, 22));
    const AfxMessageBoxHandler previous = AfxSetMessageBoxHandler(counting(process, 11));
    EXPECT_EQ(AfxMessageBox(CString("mine")), 22);
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(scoped, 1);
    EXPECT_EQ(process, 0);
}

TEST(ScopedMessageBoxHandler, NestedHandlersAnswerInnermostFirstAndUnwindInTurn) {
    std::atomic<int> outer{0};
    std::atomic<int> inner{0};
    std::atomic<int> process{0};
    const AfxMessageBoxHandler previous = AfxSetMessageBoxHandler(counting(process, 1));
    {
        ScopedMessageBoxHandler outerScope(counting(outer, 2));
        EXPECT_EQ(AfxMessageBox(CString("a")), 2);
        {
            ScopedMessageBoxHandler innerScope(counting(inner, 3));
            EXPECT_EQ(AfxMessageBox(CString("b")), 3);
            EXPECT_EQ(AfxMessageBox(CString("c")), 3);
        }
        EXPECT_EQ(AfxMessageBox(CString("d")), 2);
    }
    EXPECT_EQ(AfxMessageBox(CString("e")), 1);
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(outer, 2);
    EXPECT_EQ(inner, 2);
    EXPECT_EQ(process, 1);
}

TEST(ScopedMessageBoxHandler, OneGoneBeforeANewerOneLeavesTheNewerInPlace) {
    std::atomic<int> first{0};
    std::atomic<int> second{0};
    std::atomic<int> process{0};
    const AfxMessageBoxHandler previous = AfxSetMessageBoxHandler(counting(process, 1));
    auto older = std::make_unique<ScopedMessageBoxHandler>(counting(first, 2));
    {
        ScopedMessageBoxHandler newer(counting(second, 3));
        older.reset();
        EXPECT_EQ(AfxMessageBox(CString("a")), 3);
    }
    // The older one is gone too: the process-wide handler answers again.
    EXPECT_EQ(AfxMessageBox(CString("b")), 1);
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(process, 1);
}

TEST(ScopedMessageBoxHandler, EmptyHandlerIsTheDefault) {
    ScopedMessageBoxHandler scope{AfxMessageBoxHandler()};
    testing::internal::CaptureStderr();
    const int notice = AfxMessageBox(CString("scoped default"));
    const int question = AfxMessageBox(CString("go on?"), MB_YESNO);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "scoped default\ngo on?\n");
    EXPECT_EQ(notice, IDOK);
    EXPECT_EQ(question, IDNO);
}

TEST(ScopedMessageBoxHandler, BoxOfTheHandlerItselfGoesToTheNextOneOut) {
    MessageBoxRecorder outer(IDYES);
    std::vector<std::string> seen;
    {
        ScopedMessageBoxHandler tee([&](const CString& text, UINT type, UINT helpId) {
            seen.push_back(text.ToUtf8());
            return AfxMessageBox(text, type, helpId);
        });
        EXPECT_EQ(AfxMessageBox(CString("passed on"), MB_YESNO), IDYES);
        // The handler is in place again after it ran.
        EXPECT_EQ(AfxMessageBox(CString("again")), IDYES);
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"passed on", "again"}));
    EXPECT_EQ(outer.texts(), (std::vector<std::string>{"passed on", "again"}));
}

TEST(ScopedMessageBoxHandler, HandlerThatThrowsLeavesItselfInPlace) {
    std::atomic<int> after{0};
    ScopedMessageBoxHandler scope([&](const CString& text, UINT, UINT) -> int {
        if (text == CString("throw")) {
            throw std::runtime_error("from the handler");
        }
        ++after;
        return IDOK;
    });
    EXPECT_THROW(AfxMessageBox(CString("throw")), std::runtime_error);
    EXPECT_EQ(AfxMessageBox(CString("calm")), IDOK);
    EXPECT_EQ(after, 1);
}

TEST(ScopedMessageBoxHandler, EachThreadsRecorderSeesItsOwnBoxesOnly) {
    constexpr int kThreads = 4;
    constexpr int kBoxes = 200;
    std::vector<std::vector<std::string>> texts(kThreads);
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            MessageBoxRecorder recorder;
            start.arrive_and_wait();
            for (int i = 0; i < kBoxes; ++i) {
                AfxMessageBox(CString(("thread " + std::to_string(t)).c_str()));
            }
            texts[static_cast<std::size_t>(t)] = recorder.texts();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(texts[static_cast<std::size_t>(t)],
                  std::vector<std::string>(kBoxes, "thread " + std::to_string(t)));
    }
}

// ---------------------------------------------------------------------------
// The process-wide handler replaced while other threads show boxes.

TEST(MessageBox, ProcessHandlerReplacedWhileOtherThreadsShowBoxes) {
    constexpr int kThreads = 3;
    constexpr int kBoxesPerThread = 2000;
    constexpr int kReplacements = 2000;
    // Each handler holds its counter by a shared pointer, so that the
    // copies made by the replacements share it.
    auto first = std::make_shared<std::atomic<int>>(0);
    auto second = std::make_shared<std::atomic<int>>(0);
    const auto handlerOf = [](std::shared_ptr<std::atomic<int>> count, int answer) {
        return AfxMessageBoxHandler([count, answer](const CString&, UINT, UINT) {
            ++*count;
            return answer;
        });
    };
    const AfxMessageBoxHandler previous = AfxSetMessageBoxHandler(handlerOf(first, 1));
    std::atomic<int> wrongAnswers{0};
    std::latch start(kThreads + 1);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int i = 0; i < kBoxesPerThread; ++i) {
                const int answer = AfxMessageBox(CString("box"));
                if (answer != 1 && answer != 2) {
                    ++wrongAnswers;
                }
            }
        });
    }
    start.arrive_and_wait();
    for (int i = 0; i < kReplacements; ++i) {
        const AfxMessageBoxHandler replaced =
            AfxSetMessageBoxHandler(i % 2 == 0 ? handlerOf(second, 2) : handlerOf(first, 1));
        EXPECT_TRUE(static_cast<bool>(replaced));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(wrongAnswers, 0);
    EXPECT_EQ(*first + *second, kThreads * kBoxesPerThread);
}

TEST(MessageBox, HandlerReplacingItselfOnManyThreadsAtOnce) {
    constexpr int kThreads = 4;
    constexpr int kBoxesPerThread = 500;
    auto calls = std::make_shared<std::atomic<int>>(0);
    // Every call puts a fresh copy of the same handler in its own place.
    struct SelfReplacing {
        std::shared_ptr<std::atomic<int>> calls;
        int operator()(const CString&, UINT, UINT) const {
            ++*calls;
            AfxSetMessageBoxHandler(*this);
            return IDOK;
        }
    };
    const AfxMessageBoxHandler previous = AfxSetMessageBoxHandler(SelfReplacing{calls});
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < kBoxesPerThread; ++i) {
                AfxMessageBox(CString("again"));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(*calls, kThreads * kBoxesPerThread);
}

}  // namespace
