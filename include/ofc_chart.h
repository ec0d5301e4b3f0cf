#ifndef TARVEL_OFC_CHART_H
#define TARVEL_OFC_CHART_H

#include <json/value.h>

#include "tarvel_export.h"

/// @file
/// Charts described as JSON.

/// A line of a chart. Numbers that are not greater than 0 and null texts are left out of the description.
struct _tag_KEST_CHART_LINE_ELEM_ {
  int width;               ///< "width", in pixels
  int fontSize;            ///< "font-size" of the text, in pixels
  int dotSize;             ///< "dot-size", in pixels
  const char* colour;      ///< "colour", e.g. "#3030d0"
  const char* fontFamily;  ///< "font-family"
  const char* text;        ///< "text", the line's name in the key
};

/// A pie. What is said to be always written is so; numbers that are not greater than 0 are left out.
struct _tag_KEST_CHART_PIE_ELEM_ {
  int animate;           ///< "animate", always: 1 moves the slices into place, 0 does not
  int startAngle;        ///< "start-angle" of the first slice, in degrees
  float alpha;           ///< "alpha", opacity up to 1; the single-precision number, written in double precision
  const char** colours;  ///< appended to "colour", one per slice, ended by null; null for none
};

/// The vertical axis. Numbers that are not greater than 0 and null texts are left out, so that a least value of 0 is
/// the drawing component's default.
struct _tag_KEST_CHART_Y_AXIS_ {
  int min;                 ///< "min", least value
  int labelSteps;          ///< "labels"/"steps", the distance of labels
  int steps;               ///< "steps", the distance of grid lines
  int max;                 ///< "max", greatest value
  bool verticalLabels;     ///< true: "labels"/"rotate" is "vertical"
  bool offset;             ///< "offset", always: whether the axis keeps half a step away from the corner
  const char* stroke;      ///< "stroke", the axis's width: a text, where the horizontal axis has a number
  const char* gridColour;  ///< "grid-colour"
  const char* colour;      ///< "colour"
  const char** labels;     ///< appended to "labels"/"labels", ended by null; null for none
};

/// The horizontal axis. Numbers that are not greater than 0 and null texts are left out.
struct _tag_KEST_CHART_X_AXIS_ {
  int steps;               ///< "steps", the distance of grid lines
  int labelSteps;          ///< "labels"/"steps", the distance of labels
  int size;                ///< "size" of the labels, in pixels
  int stroke;              ///< "stroke", the axis's width: a number, where the vertical axis has a text
  int emptyLabelCount;     ///< so many empty labels when `labels` is null; otherwise of no account
  bool verticalLabels;     ///< true: "labels"/"rotate" is "vertical"
  bool offset;             ///< "offset", always: whether the axis keeps half a step away from the corner
  const char* gridColour;  ///< "grid-colour"
  const char* colour;      ///< "colour"
  const char** labels;     ///< appended to "labels"/"labels", ended by null; null: see emptyLabelCount
};

/// Descriptions of charts as JSON: titles, axes, lines and pies.
///
///     Json::Value chart;
///     OFCChart::TitleSet("Requests", "font-size: 14px", chart["title"]);
///     _tag_KEST_CHART_LINE_ELEM_ line = {2, 0, 0, "#3030d0", nullptr, "per hour"};
///     OFCChart::LineElemConfSet(&line, chart["elements"][0]);
///     chart["elements"][0]["values"].append(17);
///     _tag_KEST_CHART_Y_AXIS_ axis = {};
///     axis.max = 100;
///     OFCChart::YAxisSet(&axis, chart["y_axis"]);  // {"max": 100, "offset": false}
///
/// Each operation writes keys into the object that it is given: null, or an object that may hold other keys already.
/// The document around it and the values are the caller's. Lists are appended to what is there, so that a second call
/// doubles them; every other key is overwritten. Texts are UTF-8 and are not checked. Nothing is logged. What has
/// another type already, an object that is none or a list that is none, throws jsoncpp's Json::LogicError; lack of
/// memory passes as std::bad_alloc or as its Json::RuntimeError.
class TARVEL_EXPORT OFCChart {
 public:
  /// The chart's title: writes "text" and "style", or nothing when either is null.
  ///
  /// @param text   the title
  /// @param style  CSS for it
  /// @param out    the title object
  static void TitleSet(const char* text, const char* style, Json::Value& out);

  /// The words beside the horizontal axis, as TitleSet().
  static void XLegendSet(const char* text, const char* style, Json::Value& out);

  /// The words beside the vertical axis, as TitleSet().
  static void YLegendSet(const char* text, const char* style, Json::Value& out);

  /// A line: "type" is "line", and what the record says.
  ///
  /// @param elem  null writes nothing
  /// @param out   an element of the chart
  static void LineElemConfSet(_tag_KEST_CHART_LINE_ELEM_* elem, Json::Value& out);

  /// A pie: "type" is "pie", and what the record says.
  ///
  /// @param elem  null writes nothing
  /// @param out   an element of the chart
  static void PieElemConfSet(_tag_KEST_CHART_PIE_ELEM_* elem, Json::Value& out);

  /// The horizontal axis.
  ///
  /// @param axis  null writes nothing
  /// @param out   the axis object; its "labels" is made only when something goes in
  static void XAxisSet(_tag_KEST_CHART_X_AXIS_* axis, Json::Value& out);

  /// The vertical axis.
  ///
  /// @param axis  null writes nothing
  /// @param out   the axis object; its "labels" is made only when something goes in
  static void YAxisSet(_tag_KEST_CHART_Y_AXIS_* axis, Json::Value& out);
};

#endif  // TARVEL_OFC_CHART_H
