#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tarnwick_events.h>

#include <array>
#include <string>

#include "platform/windows/api.h"

namespace tarnwick {
namespace {

using ::testing::EndsWith;

/// The program as the event viewer looks into it.
class EventSentences : public ::testing::Test {
 protected:
  EventSentences()
      : program_(LoadLibraryExW(TARNWICK_EXE, nullptr,
                                LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE)) {}
  ~EventSentences() override { FreeLibrary(program_); }

  [[nodiscard]] std::wstring sentence(DWORD id) const {
    std::array<wchar_t, 1000> text{};
    std::wstring insert = L"what happened";
    std::array<DWORD_PTR, 1> inserts{reinterpret_cast<DWORD_PTR>(insert.data())};
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ARGUMENT_ARRAY, program_, id, 0, text.data(),
        static_cast<DWORD>(text.size()), reinterpret_cast<va_list*>(inserts.data()));
    return {text.data(), length};
  }

  HMODULE program_;
};

TEST_F(EventSentences, AreInTheProgramForEveryEvent) {
  ASSERT_NE(program_, nullptr);
  for (const DWORD id : {TARNWICK_STARTED, TARNWICK_ENDED}) {
    EXPECT_EQ(id >> 30, 1u) << id;
    EXPECT_THAT(sentence(id), EndsWith(L": what happened\r\n")) << id;
  }
  for (const DWORD id : {TARNWICK_UNANSWERED, TARNWICK_REFUSED, TARNWICK_CONNECTION_LOST,
                         TARNWICK_OUTCOME_UNKNOWN}) {
    EXPECT_EQ(id >> 30, 2u) << id;
    EXPECT_THAT(sentence(id), EndsWith(L" what happened\r\n")) << id;
  }
  EXPECT_EQ(static_cast<DWORD>(TARNWICK_BROKEN) >> 30, 3u);
  EXPECT_THAT(sentence(static_cast<DWORD>(TARNWICK_BROKEN)), EndsWith(L": what happened\r\n"));
}

}  // namespace
}  // namespace tarnwick
