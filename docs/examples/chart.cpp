#include <tarvel/ofc_chart.h>
#include <tarvel/tarvel.h>

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;

  Json::Value chart;
  OFCChart::TitleSet("Temperature", "{font-size: 18px; text-align: left;}", chart["title"]);
  OFCChart::YLegendSet("°C", "{font-size: 12px;}", chart["y_legend"]);

  _tag_KEST_CHART_LINE_ELEM_ line = {};
  line.width = 3;
  line.colour = "#8c172f";
  line.text = "Disk 1";
  Json::Value& element = chart["elements"][0];
  OFCChart::LineElemConfSet(&line, element);
  for (const int degrees : {31, 34, 0, 38}) {
    // A null is a gap in the line: here the disk was asleep.
    element["values"].append(degrees > 0 ? Json::Value(degrees) : Json::Value());
  }

  const char* labels[] = {"Mon", "Tue", "Wed", "Thu", nullptr};
  _tag_KEST_CHART_X_AXIS_ days = {};
  days.labels = labels;
  OFCChart::XAxisSet(&days, chart["x_axis"]);

  _tag_KEST_CHART_Y_AXIS_ degrees = {};
  degrees.min = 20;
  degrees.max = 50;
  degrees.steps = 10;
  OFCChart::YAxisSet(&degrees, chart["y_axis"]);

  char type[] = "text/plain; charset=\"UTF-8\"";
  request.AddHeader("Cache-Control", "no-store");
  request.WriteHeader(type);
  request.WriteBody(chart);
}
