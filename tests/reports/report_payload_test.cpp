#include "reports/report_payload.h"

#include <gtest/gtest.h>

#include "tests/reports/report_fixture.h"

namespace tarnwick {
namespace {

using ado::ObjectState;

class ReportPayload : public test_support::ReportTest {};

TEST_F(ReportPayload, CreatesAStreamWhereThereIsNone) {
  std::shared_ptr<ado::Stream> stream;
  prepare_stream(stream);
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(stream->state(), ObjectState::kClosed);
}

TEST_F(ReportPayload, ClosesAStreamThatIsOpenAndKeepsIt) {
  auto stream = std::make_shared<ado::Stream>();
  stream->open();
  stream->write_text(u"left over");
  const auto same = stream;
  prepare_stream(stream);
  EXPECT_EQ(stream, same);
  EXPECT_EQ(stream->state(), ObjectState::kClosed);
  stream->open();
  EXPECT_EQ(stream->size(), 0);
}

TEST_F(ReportPayload, TakesAClosedStreamAsItIs) {
  auto stream = std::make_shared<ado::Stream>();
  stream->set_type(ado::StreamType::kBinary);
  stream->set_charset(u"utf-8");
  const auto same = stream;
  prepare_stream(stream);
  EXPECT_EQ(stream, same);
  EXPECT_EQ(stream->charset(), u"utf-8");
  EXPECT_EQ(stream->type(), ado::StreamType::kBinary);
}

TEST_F(ReportPayload, GivesEveryCharacterUpTo00FFOneByteAndBack) {
  Text all;
  for (char16_t character = 0; character < 256; ++character) all.push_back(character);
  const Bytes bytes = ttx_to_bytes(state(), all);
  ASSERT_EQ(bytes.size(), 256u);
  EXPECT_EQ(bytes[0xE9], std::byte{0xE9});
  EXPECT_EQ(ttx_from_bytes(state(), bytes), all);
}

TEST_F(ReportPayload, TakesTextAsLatin1WhateverTheSharedStreamWasUsedForBefore) {
  prepare_stream(state().stream);
  state().stream->set_charset(u"utf-8");
  EXPECT_EQ(ttx_to_bytes(state(), u"\u00E9"), Bytes{std::byte{0xE9}});
  state().stream->set_charset(u"unicode");
  ttx_to_file(state(), u"\u00E9", path("a.ttx"));
  EXPECT_EQ(content("a.ttx"), "\xE9");
  state().stream->set_charset(u"utf-8");
  EXPECT_EQ(ttx_from_file(state(), path("a.ttx")), u"\u00E9");
}

TEST_F(ReportPayload, RefusesACharacterThatIsNoByte) {
  try {
    (void)ttx_to_bytes(state(), u"a\u0100");
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), 3421);
    EXPECT_EQ(error.description(),
              u"The text has a character that the character set \"iso-8859-1\" does not have.");
  }
}

TEST_F(ReportPayload, LeavesTheSharedStreamClosed) {
  (void)ttx_to_bytes(state(), u"x");
  EXPECT_EQ(state().stream->state(), ObjectState::kClosed);
  (void)ttx_from_bytes(state(), Bytes(3));
  EXPECT_EQ(state().stream->state(), ObjectState::kClosed);
  bytes_to_file(state(), Bytes(3), path("f"));
  EXPECT_EQ(state().stream->state(), ObjectState::kClosed);
  EXPECT_EQ(bytes_from_file(state(), path("f")), Bytes(3));
  EXPECT_EQ(state().stream->state(), ObjectState::kClosed);
}

TEST_F(ReportPayload, UsesASharedStreamThatAFailureLeftOpen) {
  EXPECT_THROW((void)ttx_to_bytes(state(), u"\u0100"), Error);
  ASSERT_EQ(state().stream->state(), ObjectState::kOpen);
  EXPECT_EQ(ttx_to_bytes(state(), u"x"), Bytes{std::byte{'x'}});
}

}  // namespace
}  // namespace tarnwick
