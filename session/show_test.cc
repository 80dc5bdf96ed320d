#include "lisp_worker/session/show.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "session/plain_text.h"
#include "testing/workers/session_maker.h"

namespace lisp_worker::session {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testing_support::SessionMaker;

TEST(PlainText, StaysOnOneLineOfItsWidth) {
  EXPECT_EQ(plainText("short", 5), "short");
  EXPECT_EQ(plainText("longer", 5), "lo...");
  EXPECT_EQ(plainText("a\nb\r\tc", 20), "a\\nb\\r\\tc");
  EXPECT_EQ(plainText(std::string("\0\x1b\x7f", 3), 20), "\\x00\\x1b\\x7f");
  EXPECT_EQ(plainText("ab\n\n\n\n", 7), "ab\\n...");
  EXPECT_EQ(plainText("", 5), "");
}

TEST(PlainText, CutsNoLetter) {
  EXPECT_EQ(plainText("\u00E4\u00E4\u00E4", 5), "\u00E4...");
  EXPECT_EQ(plainText("\u00E4\u00E4\u00E4", 6), "\u00E4\u00E4\u00E4");
}

// A terminal takes some of them for orders: U+009B begins one, as the escape character does.
TEST(Printable, LeavesNoControlCharacters) {
  EXPECT_EQ(printable("a\nb\r\tc\x1b[2J"), "a\nb\\r\\tc\\x1b[2J");
  EXPECT_EQ(printable("\xC2\x9B"
                      "2J \x9B"
                      "2J"),
            "\\xc2\\x9b2J \\x9b2J");
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text = printable(std::string("a") + static_cast<char>(byte));
    const bool is_shown = byte == '\n' || (byte >= 0x20 && byte < 0x7F);
    EXPECT_EQ(text.size() == 2, is_shown) << byte;
  }
}

TEST(Printable, LeavesLettersAlone) {
  const std::string letters = "Ax\u00A0\u00E4\u03BB\u0800\uFFFD\U00010000\U0010FFFF";
  EXPECT_EQ(printable(letters), letters);
  EXPECT_EQ(printable("\xC3"), "\\xc3");
  EXPECT_EQ(printable("\xC0\x9B"), "\\xc0\\x9b");
  EXPECT_EQ(printable("\xE0\x82\x9B"), "\\xe0\\x82\\x9b");
  EXPECT_EQ(printable("\xED\xA0\x80"), "\\xed\\xa0\\x80");
  EXPECT_EQ(printable("\xF0\x80\x82\x9B"), "\\xf0\\x80\\x82\\x9b");
  EXPECT_EQ(printable("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
}

TEST(Counted, KnowsOneFromMany) {
  EXPECT_EQ(counted(0, "byte"), "0 bytes");
  EXPECT_EQ(counted(1, "byte"), "1 byte");
  EXPECT_EQ(counted(2, "byte"), "2 bytes");
}

TEST(ShowSession, HasALineForEachRecord) {
  SessionMaker maker;
  client::CoordContext context;
  context.id = 3;
  ASSERT_TRUE(maker.worker().registerContext(context).has_value());
  ASSERT_TRUE(
      maker.worker()
          .run("(GETPOINT \"To: \")",
               [](const client::HostCall&) { return std::optional(client::point(1, 2, 3)); },
               {.context_id = 3})
          .has_value());
  ASSERT_TRUE(maker.worker().evalCancel(8).has_value());
  maker.worker().stop();
  EXPECT_EQ(
      showSession(maker.session()),
      "    0  0.000000          start             a worker is started\n"
      "    1  0.000100  host    RegisterContext   context 3, 416 bytes\n"
      "    2  0.000200  worker  Ok\n"
      "    3  0.000300  host    EvalStart         context 3, 17 bytes: (GETPOINT \"To: \")\n"
      "    4  0.000400  worker  HostCallPending   run 1 needs GETPOINT (\"To: \")   [2 steps]\n"
      "    5  0.000500  host    EvalResume        run 1, 7 bytes: (1 2 3)\n"
      "    6  0.000600  worker  Ok                (1 2 3)   [2 steps]\n"
      "    7  0.000700  host    EvalCancel        run 8\n"
      "    8  0.000800  worker  Ok\n"
      "    9  0.000900  host    Shutdown          0 bytes\n"
      "   10  0.001000  worker  Ok\n"
      "   11  0.001100          end               the worker ended with exit code 0: its "
      "input ended or it was told to shut down\n");
}

TEST(ShowSession, TellsWhatIsNotAFrame) {
  RecordedSession session;
  session.records = {{RecordKind::Request, 0, "KLSP"}, {RecordKind::Broken, 2000000, "x"}};
  session.end = FileEnd::Cut;
  session.end_text = "the file ends inside record 2, in its header";
  EXPECT_EQ(showSession(session),
            "    0  0.000000  host    cut request       4 bytes\n"
            "    1  2.000000  worker  no response       1 byte came\n"
            "the file ends inside record 2, in its header\n");
}

TEST(ShowRecord, HasEverything) {
  SessionMaker maker;
  client::CoordContext context;
  context.id = 3;
  context.tag = 77;
  context.systems[4].z_offset = 0.25;
  ASSERT_TRUE(maker.worker().registerContext(context).has_value());
  ASSERT_TRUE(maker.worker().evalStart("; a comment\n(GETPOINT 1 2)", 0).has_value());
  ASSERT_TRUE(maker.worker().convert(3, {1, 2, 3}, 0, 0).has_value());
  const RecordedSession& session = maker.session();
  EXPECT_EQ(showRecord(session.records[0], 0), describeRecord(session.records[0], 0) + "\n");
  const std::string registration = showRecord(session.records[1], 1);
  EXPECT_THAT(registration, HasSubstr("\n  type            2\n"));
  EXPECT_THAT(registration, HasSubstr("\n  payload_length  416\n"));
  EXPECT_THAT(registration, HasSubstr("\n  tag             77\n"));
  EXPECT_THAT(registration, HasSubstr("\n  system 4        0 0 1 0 0 1 1 0.25\n"));
  EXPECT_THAT(registration, HasSubstr("\n  cell plane      0 0 1 0 0 1 1 0\n"));
  EXPECT_THAT(showRecord(session.records[3], 3), HasSubstr("\n\n; a comment\n(GETPOINT 1 2)\n"));
  const std::string call = showRecord(session.records[4], 4);
  EXPECT_THAT(call, HasSubstr("\n  eval_status     HostCallRequired\n"));
  EXPECT_THAT(call, HasSubstr("\n  call            GETPOINT with 2 arguments\n"));
  EXPECT_THAT(call, HasSubstr("\n\n(1 2)\n"));
  EXPECT_THAT(showRecord(session.records[5], 5), HasSubstr("\n  000000  00 00 00 00 00 00 f0 3f"));
  EXPECT_THAT(showRecord({RecordKind::Broken, 0, "AB"}, 7), HasSubstr("\n  000000  41 42\n"));
}

}  // namespace
}  // namespace lisp_worker::session
