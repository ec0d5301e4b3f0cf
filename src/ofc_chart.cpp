#include "ofc_chart.h"

namespace {

void SetNumber(Json::Value& out, const char* key, int number) {
  if (number > 0) out[key] = number;
}

void SetText(Json::Value& out, const char* key, const char* text) {
  if (text != nullptr) out[key] = text;
}

void SetTextAndStyle(Json::Value& out, const char* text, const char* style) {
  if (text == nullptr || style == nullptr) return;
  out["text"] = text;
  out["style"] = style;
}

// The list is looked up only when something goes in: looking it up makes it.
void AppendTexts(Json::Value& out, const char* key, const char* const* texts) {
  for (; texts != nullptr && *texts != nullptr; ++texts) out[key].append(*texts);
}

// The parts of "labels" that both axes have. Missing parts leave no empty object behind.
void SetLabels(Json::Value& out, int steps, bool vertical, const char* const* texts) {
  if (steps > 0) out["labels"]["steps"] = steps;
  if (vertical) out["labels"]["rotate"] = "vertical";
  if (texts != nullptr && *texts != nullptr) AppendTexts(out["labels"], "labels", texts);
}

}  // namespace

void OFCChart::TitleSet(const char* text, const char* style, Json::Value& out) { SetTextAndStyle(out, text, style); }

void OFCChart::XLegendSet(const char* text, const char* style, Json::Value& out) { SetTextAndStyle(out, text, style); }

void OFCChart::YLegendSet(const char* text, const char* style, Json::Value& out) { SetTextAndStyle(out, text, style); }

void OFCChart::LineElemConfSet(_tag_KEST_CHART_LINE_ELEM_* elem, Json::Value& out) {
  if (elem == nullptr) return;
  out["type"] = "line";
  SetText(out, "colour", elem->colour);
  SetText(out, "text", elem->text);
  SetNumber(out, "font-size", elem->fontSize);
  SetNumber(out, "dot-size", elem->dotSize);
  SetNumber(out, "width", elem->width);
  SetText(out, "font-family", elem->fontFamily);
}

void OFCChart::PieElemConfSet(_tag_KEST_CHART_PIE_ELEM_* elem, Json::Value& out) {
  if (elem == nullptr) return;
  out["type"] = "pie";
  out["animate"] = elem->animate;
  if (elem->alpha > 0.0F) out["alpha"] = static_cast<double>(elem->alpha);
  SetNumber(out, "start-angle", elem->startAngle);
  AppendTexts(out, "colour", elem->colours);
}

// The two axes differ on purpose: the horizontal one has its stroke as a number, the vertical one as a text.
void OFCChart::XAxisSet(_tag_KEST_CHART_X_AXIS_* axis, Json::Value& out) {
  if (axis == nullptr) return;
  SetNumber(out, "stroke", axis->stroke);
  SetText(out, "colour", axis->colour);
  SetText(out, "grid-colour", axis->gridColour);
  out["offset"] = axis->offset;
  SetNumber(out, "size", axis->size);
  SetNumber(out, "steps", axis->steps);
  SetLabels(out, axis->labelSteps, axis->verticalLabels, axis->labels);
  if (axis->labels != nullptr) return;
  for (int i = 0; i < axis->emptyLabelCount; ++i) out["labels"]["labels"].append("");
}

void OFCChart::YAxisSet(_tag_KEST_CHART_Y_AXIS_* axis, Json::Value& out) {
  if (axis == nullptr) return;
  // A least value of 0 is deliberately never written: it is the drawing component's default.
  SetNumber(out, "min", axis->min);
  SetNumber(out, "max", axis->max);
  SetText(out, "stroke", axis->stroke);
  SetText(out, "colour", axis->colour);
  SetText(out, "grid-colour", axis->gridColour);
  out["offset"] = axis->offset;
  SetNumber(out, "steps", axis->steps);
  SetLabels(out, axis->labelSteps, axis->verticalLabels, axis->labels);
}
