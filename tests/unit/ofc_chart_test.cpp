#include "ofc_chart.h"

#include <climits>
#include <cstddef>
#include <limits>
#include <string>

#include "support/platform_test.h"

namespace tarvel_test {
namespace {

// Programs and library hand the records to each other, so their layout is the compiler's on every machine.
constexpr size_t Either(size_t with_32_bits, size_t with_64_bits) {
  return sizeof(void*) == 4 ? with_32_bits : with_64_bits;
}

using Line = _tag_KEST_CHART_LINE_ELEM_;
static_assert(sizeof(Line) == Either(24, 40));
static_assert(offsetof(Line, width) == 0 && offsetof(Line, fontSize) == 4 && offsetof(Line, dotSize) == 8);
static_assert(offsetof(Line, colour) == Either(12, 16) && offsetof(Line, fontFamily) == Either(16, 24) &&
              offsetof(Line, text) == Either(20, 32));

using Pie = _tag_KEST_CHART_PIE_ELEM_;
static_assert(sizeof(Pie) == Either(16, 24));
static_assert(offsetof(Pie, animate) == 0 && offsetof(Pie, startAngle) == 4 && offsetof(Pie, alpha) == 8);
static_assert(offsetof(Pie, colours) == Either(12, 16));
static_assert(sizeof(Pie::alpha) == 4);

using YAxis = _tag_KEST_CHART_Y_AXIS_;
static_assert(sizeof(YAxis) == Either(36, 56));
static_assert(offsetof(YAxis, min) == 0 && offsetof(YAxis, labelSteps) == 4 && offsetof(YAxis, steps) == 8 &&
              offsetof(YAxis, max) == 12);
static_assert(offsetof(YAxis, verticalLabels) == 16 && offsetof(YAxis, offset) == 17 && sizeof(YAxis::offset) == 1);
static_assert(offsetof(YAxis, stroke) == Either(20, 24) && offsetof(YAxis, gridColour) == Either(24, 32) &&
              offsetof(YAxis, colour) == Either(28, 40) && offsetof(YAxis, labels) == Either(32, 48));

using XAxis = _tag_KEST_CHART_X_AXIS_;
static_assert(sizeof(XAxis) == Either(36, 48));
static_assert(offsetof(XAxis, steps) == 0 && offsetof(XAxis, labelSteps) == 4 && offsetof(XAxis, size) == 8 &&
              offsetof(XAxis, stroke) == 12 && offsetof(XAxis, emptyLabelCount) == 16);
static_assert(offsetof(XAxis, verticalLabels) == 20 && offsetof(XAxis, offset) == 21 && sizeof(XAxis::offset) == 1);
static_assert(offsetof(XAxis, gridColour) == 24 && offsetof(XAxis, colour) == Either(28, 32) &&
              offsetof(XAxis, labels) == Either(32, 40));

class OFCChartTest : public PlatformTest {};

struct WordsRow {
  int line;
  void (*set)(const char*, const char*, Json::Value&);
};

constexpr WordsRow kWordsRows[] = {
    {__LINE__, OFCChart::TitleSet}, {__LINE__, OFCChart::XLegendSet}, {__LINE__, OFCChart::YLegendSet}};

TEST_F(OFCChartTest, TitleAndLegendsAreATextWithItsStyle) {
  for (const WordsRow& row : kWordsRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    Json::Value out;
    row.set("Requests", "color: #333", out);
    EXPECT_EQ(Doc("{'text': 'Requests', 'style': 'color: #333'}"), out);
    row.set("", "", out);
    EXPECT_EQ(Doc("{'text': '', 'style': ''}"), out);
  }
}

TEST_F(OFCChartTest, ATitleOrLegendWithoutTextOrStyleLeavesTheObjectUntouched) {
  for (const WordsRow& row : kWordsRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    Json::Value untouched, out = Doc("{'text': 'before', 'other': 1}");
    row.set("text", nullptr, untouched);
    row.set(nullptr, "style", untouched);
    row.set(nullptr, nullptr, untouched);
    EXPECT_TRUE(untouched.isNull());
    row.set("text", nullptr, out);
    row.set(nullptr, "style", out);
    EXPECT_EQ(Doc("{'text': 'before', 'other': 1}"), out);
  }
}

TEST_F(OFCChartTest, ALineHasEveryFieldUnderItsKey) {
  Line line = {1, 2, 3, "#010203", "Verdana", "per hour"};
  Json::Value out;
  OFCChart::LineElemConfSet(&line, out);
  EXPECT_EQ(Doc("{'type': 'line', 'width': 1, 'font-size': 2, 'dot-size': 3, 'colour': '#010203', "
                "'font-family': 'Verdana', 'text': 'per hour'}"),
            out);
}

TEST_F(OFCChartTest, ALineOfZerosAndNullsIsItsTypeOnly) {
  Line line = {};
  Json::Value out;
  OFCChart::LineElemConfSet(&line, out);
  EXPECT_EQ(Doc("{'type': 'line'}"), out);
}

TEST_F(OFCChartTest, NegativeNumbersOfALineAreLeftOutAndEmptyTextsAreNot) {
  Line line = {-1, INT_MIN, -3, "", "", ""};
  Json::Value out;
  OFCChart::LineElemConfSet(&line, out);
  EXPECT_EQ(Doc("{'type': 'line', 'colour': '', 'font-family': '', 'text': ''}"), out);
}

TEST_F(OFCChartTest, APieHasEveryFieldUnderItsKey) {
  const char* colours[] = {"#111", "#222", "", "#111", nullptr};
  Pie pie = {1, 35, 0.5F, colours};
  Json::Value out;
  OFCChart::PieElemConfSet(&pie, out);
  EXPECT_EQ(Doc("{'type': 'pie', 'animate': 1, 'start-angle': 35, 'alpha': 0.5, "
                "'colour': ['#111', '#222', '', '#111']}"),
            out);
  EXPECT_EQ(Json::intValue, out["animate"].type());
  EXPECT_EQ(Json::realValue, out["alpha"].type());
}

TEST_F(OFCChartTest, APieAlwaysHasItsAnimationAsANumber) {
  for (const int animate : {0, -1, 2, INT_MIN}) {
    Pie pie = {animate, 0, 0.0F, nullptr};
    Json::Value out;
    OFCChart::PieElemConfSet(&pie, out);
    EXPECT_EQ(2U, out.size());
    EXPECT_EQ("pie", out["type"].asString());
    EXPECT_EQ(Json::Value(animate), out["animate"]);
  }
}

TEST_F(OFCChartTest, APiesNumbersBelowZeroAreLeftOut) {
  Pie pie = {0, -1, -0.5F, nullptr};
  Json::Value out;
  OFCChart::PieElemConfSet(&pie, out);
  EXPECT_EQ(Doc("{'type': 'pie', 'animate': 0}"), out);
}

TEST_F(OFCChartTest, AlphaIsTheSinglePrecisionNumberWidened) {
  Pie pie = {0, 0, 0.1F, nullptr};
  Json::Value out;
  OFCChart::PieElemConfSet(&pie, out);
  EXPECT_EQ(static_cast<double>(0.1F), out["alpha"].asDouble());
  EXPECT_NE(0.1, out["alpha"].asDouble());
}

TEST_F(OFCChartTest, APieWithAnEmptyListOfColoursHasNone) {
  const char* none[] = {nullptr};
  Pie pie = {0, 0, 0.0F, none};
  Json::Value out;
  OFCChart::PieElemConfSet(&pie, out);
  EXPECT_EQ(Doc("{'type': 'pie', 'animate': 0}"), out);
}

TEST_F(OFCChartTest, AVerticalAxisHasEveryFieldUnderItsKey) {
  const char* labels[] = {"low", "", "high", nullptr};
  YAxis axis = {1, 2, 3, 4, true, true, "5", "#eee", "#ccc", labels};
  Json::Value out;
  OFCChart::YAxisSet(&axis, out);
  EXPECT_EQ(Doc("{'min': 1, 'steps': 3, 'max': 4, 'offset': true, 'stroke': '5', 'grid-colour': '#eee', "
                "'colour': '#ccc', 'labels': {'steps': 2, 'rotate': 'vertical', 'labels': ['low', '', 'high']}}"),
            out);
  EXPECT_EQ(Json::stringValue, out["stroke"].type());
}

TEST_F(OFCChartTest, AHorizontalAxisHasEveryFieldUnderItsKey) {
  const char* labels[] = {"Mon", "", "Wed", nullptr};
  XAxis axis = {1, 2, 3, 4, 5, true, true, "#eee", "#ccc", labels};
  Json::Value out;
  OFCChart::XAxisSet(&axis, out);
  EXPECT_EQ(Doc("{'steps': 1, 'size': 3, 'stroke': 4, 'offset': true, 'grid-colour': '#eee', 'colour': '#ccc', "
                "'labels': {'steps': 2, 'rotate': 'vertical', 'labels': ['Mon', '', 'Wed']}}"),
            out);
  EXPECT_EQ(Json::intValue, out["stroke"].type());
}

TEST_F(OFCChartTest, AnAxisOfZerosAndNullsIsItsOffsetOnly) {
  YAxis y = {};
  XAxis x = {};
  Json::Value y_out, x_out;
  OFCChart::YAxisSet(&y, y_out);
  OFCChart::XAxisSet(&x, x_out);
  EXPECT_EQ(Doc("{'offset': false}"), y_out);
  EXPECT_EQ(Doc("{'offset': false}"), x_out);
}

TEST_F(OFCChartTest, NegativeNumbersOfAnAxisAreLeftOutAndEmptyTextsAreNot) {
  YAxis y = {-1, -2, -3, -4, false, true, "", "", "", nullptr};
  XAxis x = {-1, -2, -3, -4, -5, false, true, "", "", nullptr};
  Json::Value y_out, x_out;
  OFCChart::YAxisSet(&y, y_out);
  OFCChart::XAxisSet(&x, x_out);
  EXPECT_EQ(Doc("{'offset': true, 'stroke': '', 'grid-colour': '', 'colour': ''}"), y_out);
  EXPECT_EQ(Doc("{'offset': true, 'grid-colour': '', 'colour': ''}"), x_out);
}

TEST_F(OFCChartTest, NumbersAreWrittenFrom1On) {
  Line line = {1, 1, 1, nullptr, nullptr, nullptr};
  Pie pie = {0, 1, 1e-30F, nullptr};
  YAxis y = {1, 1, 1, 1, false, false, nullptr, nullptr, nullptr, nullptr};
  XAxis x = {1, 1, 1, 1, 1, false, false, nullptr, nullptr, nullptr};
  Json::Value line_out, pie_out, y_out, x_out;
  OFCChart::LineElemConfSet(&line, line_out);
  OFCChart::PieElemConfSet(&pie, pie_out);
  OFCChart::YAxisSet(&y, y_out);
  OFCChart::XAxisSet(&x, x_out);
  EXPECT_EQ(Doc("{'type': 'line', 'width': 1, 'font-size': 1, 'dot-size': 1}"), line_out);
  EXPECT_TRUE(pie_out.isMember("alpha") && pie_out.isMember("start-angle"));
  EXPECT_EQ(Doc("{'min': 1, 'steps': 1, 'max': 1, 'offset': false, 'labels': {'steps': 1}}"), y_out);
  EXPECT_EQ(Doc("{'stroke': 1, 'steps': 1, 'size': 1, 'offset': false, 'labels': {'steps': 1, 'labels': ['']}}"),
            x_out);
}

TEST_F(OFCChartTest, AnAlphaThatIsNoNumberIsLeftOut) {
  Pie pie = {0, 0, std::numeric_limits<float>::quiet_NaN(), nullptr};
  Json::Value out;
  OFCChart::PieElemConfSet(&pie, out);
  EXPECT_EQ(Doc("{'type': 'pie', 'animate': 0}"), out);
}

TEST_F(OFCChartTest, AVerticalAxisFromZeroToAHundredHasOnlyTheGreatestValue) {
  YAxis axis = {};
  axis.max = 100;
  Json::Value out;
  OFCChart::YAxisSet(&axis, out);
  EXPECT_EQ(Doc("{'max': 100, 'offset': false}"), out);
}

TEST_F(OFCChartTest, AHorizontalAxisWithoutLabelsHasSoManyEmptyOnes) {
  XAxis axis = {};
  axis.emptyLabelCount = 3;
  Json::Value out;
  OFCChart::XAxisSet(&axis, out);
  EXPECT_EQ(Doc("{'offset': false, 'labels': {'labels': ['', '', '']}}"), out);
}

TEST_F(OFCChartTest, TheNumberOfEmptyLabelsIsOfNoAccountBesideAList) {
  const char* none[] = {nullptr};
  const char* one[] = {"Mon", nullptr};
  XAxis axis = {};
  axis.emptyLabelCount = 3;
  axis.labels = none;
  Json::Value empty, filled;
  OFCChart::XAxisSet(&axis, empty);
  EXPECT_EQ(Doc("{'offset': false}"), empty);
  axis.labels = one;
  OFCChart::XAxisSet(&axis, filled);
  EXPECT_EQ(Doc("{'offset': false, 'labels': {'labels': ['Mon']}}"), filled);
}

TEST_F(OFCChartTest, AVerticalAxisWithoutLabelsHasNoInnerList) {
  const char* none[] = {nullptr};
  for (const char** labels : {static_cast<const char**>(nullptr), none}) {
    YAxis axis = {};
    axis.labelSteps = 2;
    axis.labels = labels;
    Json::Value out;
    OFCChart::YAxisSet(&axis, out);
    EXPECT_EQ(Doc("{'offset': false, 'labels': {'steps': 2}}"), out);
  }
}

TEST_F(OFCChartTest, RotatedLabelsNeedNoList) {
  YAxis y = {};
  XAxis x = {};
  y.verticalLabels = x.verticalLabels = true;
  Json::Value y_out, x_out;
  OFCChart::YAxisSet(&y, y_out);
  OFCChart::XAxisSet(&x, x_out);
  EXPECT_EQ(Doc("{'offset': false, 'labels': {'rotate': 'vertical'}}"), y_out);
  EXPECT_EQ(Doc("{'offset': false, 'labels': {'rotate': 'vertical'}}"), x_out);
}

TEST_F(OFCChartTest, NullRecordsWriteNothing) {
  Json::Value out;
  OFCChart::LineElemConfSet(nullptr, out);
  OFCChart::PieElemConfSet(nullptr, out);
  OFCChart::XAxisSet(nullptr, out);
  OFCChart::YAxisSet(nullptr, out);
  EXPECT_TRUE(out.isNull());
}

TEST_F(OFCChartTest, ASecondCallDoublesListsAndOverwritesTheRest) {
  const char* colours[] = {"#1", "#2", nullptr};
  const char* labels[] = {"a", nullptr};
  Pie pie = {1, 0, 0.0F, colours};
  YAxis y = {};
  XAxis x = {}, unlabelled = {};
  y.labels = x.labels = labels;
  unlabelled.emptyLabelCount = 2;
  Json::Value pie_out, y_out, x_out;
  for (int animate = 1; animate >= 0; --animate) {
    pie.animate = animate;
    OFCChart::PieElemConfSet(&pie, pie_out);
    OFCChart::YAxisSet(&y, y_out);
    OFCChart::XAxisSet(&x, x_out);
  }
  OFCChart::XAxisSet(&unlabelled, x_out);
  EXPECT_EQ(Doc("{'type': 'pie', 'animate': 0, 'colour': ['#1', '#2', '#1', '#2']}"), pie_out);
  EXPECT_EQ(Doc("{'offset': false, 'labels': {'labels': ['a', 'a']}}"), y_out);
  EXPECT_EQ(Doc("{'offset': false, 'labels': {'labels': ['a', 'a', '', '']}}"), x_out);
}

TEST_F(OFCChartTest, NullsOverwriteNothing) {
  Line line = {};
  Pie pie = {};
  YAxis y = {};
  XAxis x = {};
  Json::Value line_out = Doc("{'colour': 'c', 'text': 't', 'font-family': 'f', 'font-size': 1, 'dot-size': 2}");
  Json::Value pie_out = Doc("{'alpha': 0.5, 'start-angle': 3, 'colour': ['c']}");
  Json::Value axis =
      Doc("{'stroke': 's', 'colour': 'c', 'grid-colour': 'g', 'steps': 1, 'size': 2, 'min': 3, 'max': 4,"
          " 'labels': {'steps': 5, 'rotate': 'vertical', 'labels': ['l']}}");
  Json::Value y_out = axis, x_out = axis;
  OFCChart::LineElemConfSet(&line, line_out);
  OFCChart::PieElemConfSet(&pie, pie_out);
  OFCChart::YAxisSet(&y, y_out);
  OFCChart::XAxisSet(&x, x_out);
  axis["offset"] = false;
  EXPECT_EQ(Doc("{'type': 'line', 'colour': 'c', 'text': 't', 'font-family': 'f', 'font-size': 1, 'dot-size': 2}"),
            line_out);
  EXPECT_EQ(Doc("{'type': 'pie', 'animate': 0, 'alpha': 0.5, 'start-angle': 3, 'colour': ['c']}"), pie_out);
  EXPECT_EQ(axis, y_out);
  EXPECT_EQ(axis, x_out);
}

TEST_F(OFCChartTest, WhatIsThereInAnotherTypePassesTheExceptionOfJsoncpp) {
  const char* texts[] = {"a", nullptr};
  Pie pie = {0, 0, 0.0F, texts};
  YAxis y = {};
  XAxis x = {};
  y.labels = x.labels = texts;
  Json::Value list(Json::arrayValue), colour = Doc("{'colour': 'red'}");
  Json::Value text = Doc("{'labels': 'text'}"), inner = Doc("{'labels': {'labels': 'text'}}");
  EXPECT_THROW(OFCChart::TitleSet("text", "style", list), Json::LogicError);
  EXPECT_THROW(OFCChart::PieElemConfSet(&pie, list), Json::LogicError);
  EXPECT_THROW(OFCChart::PieElemConfSet(&pie, colour), Json::LogicError);
  for (Json::Value* out : {&list, &text, &inner}) {
    EXPECT_THROW(OFCChart::YAxisSet(&y, *out), Json::LogicError);
    EXPECT_THROW(OFCChart::XAxisSet(&x, *out), Json::LogicError);
  }
}

TEST_F(OFCChartTest, WithoutMemoryTheExceptionPassesAndNothingIsLost) {
  const char* texts[] = {"a text that is longer than a short one", "b", nullptr};
  Line line = {1, 2, 3, texts[0], texts[0], texts[0]};
  Pie pie = {1, 35, 0.5F, texts};
  YAxis y = {1, 2, 3, 4, true, true, "5", texts[0], texts[0], texts};
  XAxis x = {1, 2, 3, 4, 5, true, true, texts[0], texts[0], texts};
  const auto describe = [&] {
    Json::Value chart;
    OFCChart::TitleSet(texts[0], texts[0], chart["title"]);
    OFCChart::LineElemConfSet(&line, chart["elements"][0]);
    OFCChart::PieElemConfSet(&pie, chart["elements"][1]);
    OFCChart::YAxisSet(&y, chart["y_axis"]);
    OFCChart::XAxisSet(&x, chart["x_axis"]);
  };
  EXPECT_GE(FailuresUntilItSucceeds(describe), 20);
}

TEST_F(OFCChartTest, OtherKeysOfTheObjectAreKept) {
  Line line = {};
  Json::Value out = Doc("{'values': [1, 2], 'type': 'bar', 'width': 7}");
  OFCChart::LineElemConfSet(&line, out);
  EXPECT_EQ(Doc("{'values': [1, 2], 'type': 'line', 'width': 7}"), out);
}

TEST_F(OFCChartTest, TextsAreCarriedAsTheyAre) {
  Line line = {};
  line.text = "\"\\<b>\xc3\xa4\xff";
  Json::Value out;
  OFCChart::LineElemConfSet(&line, out);
  EXPECT_EQ(std::string(line.text), out["text"].asString());
}

TEST_F(OFCChartTest, ThePlatformIsNotAsked) {
  Line line = {};
  Json::Value out;
  OFCChart::LineElemConfSet(&line, out);
  EXPECT_TRUE(Calls().empty());
}

}  // namespace
}  // namespace tarvel_test
