// Splitting command lines and pipeline files into words, with the line of every error.
#include <gtest/gtest.h>

#include "support/qtprinters.h"
#include "zaltools/linesplitter.h"

using zaltools::LineSplitter;

namespace {

QStringList words(const QString& line) {
    QStringList result{"stale"};
    QString error;
    EXPECT_TRUE(LineSplitter::split(line, result, error))
        << line.toStdString() << ": " << error.toStdString();
    return result;
}

}  // namespace

TEST(LineSplitter, SplitsOnBlanksAndKeepsQuotedTextTogether) {
    EXPECT_EQ(words("  create-group\tg1  "), (QStringList{"create-group", "g1"}));
    EXPECT_EQ(words("set g p text \"two  words\""), (QStringList{"set", "g", "p", "text", "two  words"}));
    EXPECT_EQ(words("set g p empty \"\""), (QStringList{"set", "g", "p", "empty", ""}));
    EXPECT_EQ(words("a\"b c\"d e"), (QStringList{"ab cd", "e"}));
    EXPECT_EQ(words(R"("say \"hi\"" "back\\slash" "keep\n")"),
              (QStringList{"say \"hi\"", "back\\slash", "keep\\n"}));
    EXPECT_EQ(words(""), QStringList{});
    EXPECT_EQ(words("   \t "), QStringList{});
}

TEST(LineSplitter, CommentsStartOnlyAtTheStartOfAWordOutsideQuotes) {
    EXPECT_EQ(words("# the whole line"), QStringList{});
    EXPECT_EQ(words("groups # what exists"), QStringList{"groups"});
    EXPECT_EQ(words("groups #what exists"), QStringList{"groups"});
    EXPECT_EQ(words("set g p topic t#1"), (QStringList{"set", "g", "p", "topic", "t#1"}));
    EXPECT_EQ(words("set g p topic \"# not a comment\""),
              (QStringList{"set", "g", "p", "topic", "# not a comment"}));
}

TEST(LineSplitter, RefusesAnUnclosedQuote) {
    QStringList result{"stale"};
    QString error;
    EXPECT_FALSE(LineSplitter::split("set g p x \"open", result, error));
    EXPECT_TRUE(result.isEmpty());
    EXPECT_EQ(error, "unterminated double quote");
    EXPECT_FALSE(LineSplitter::split(R"(x "ends in escape\")", result, error));
}

TEST(LineSplitter, ScriptKeepsLineNumbersOfCommandsAndErrors) {
    const QString text =
        "# a pipeline\n"
        "\n"
        "create-group g1\r\n"
        "   # indented comment\n"
        "create g1 gen \"demo.Generator\"  # trailing\n"
        "set g1 gen text \"unclosed\n"
        "groups";
    const auto lines = LineSplitter::splitScript(text);
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[0].number, 3);
    EXPECT_EQ(lines[0].words, (QStringList{"create-group", "g1"}));
    EXPECT_EQ(lines[1].number, 5);
    EXPECT_EQ(lines[1].words, (QStringList{"create", "g1", "gen", "demo.Generator"}));
    EXPECT_TRUE(lines[1].error.isEmpty());
    EXPECT_EQ(lines[2].number, 6);
    EXPECT_TRUE(lines[2].words.isEmpty());
    EXPECT_EQ(lines[2].error, "unterminated double quote");
    EXPECT_EQ(lines[3].number, 7);
    EXPECT_EQ(lines[3].words, QStringList{"groups"});

    EXPECT_TRUE(LineSplitter::splitScript("").isEmpty());
    EXPECT_TRUE(LineSplitter::splitScript("\n# only\n\n").isEmpty());
}

TEST(LineSplitter, JoinedWordsSplitBackIntoThemselves) {
    const QStringList original{"set", "g",          "p",           "text", "two  words",
                               "",    "say \"hi\"", "back\\slash", "#1",   "t#1"};
    EXPECT_EQ(words(LineSplitter::join(original)), original);
    EXPECT_EQ(LineSplitter::join({"create", "g", "c", "demo.Counter"}), "create g c demo.Counter");
}
