// chart.cgi: figures of the appliance, described as charts.
//
//   GET chart=volumes    a pie: size and use of the mounted volumes; for every account
//   GET chart=requests   a line: requests in each of the last 24 hours; for administrators
//
// The reply is the chart's document itself, without anything around it: {"title": ..., "elements": [...], ...}. Where
// there are no figures it is a refusal.
#include <tarvel/kest_conf.h>
#include <tarvel/ofc_chart.h>
#include <tarvel/string_bundle.h>
#include <tarvel/tarvel.h>
#include <tarvel/template.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "access_log.h"
// Volumes are seen by the library as one service sees them; all that are mounted are listed by the platform only.
#include "platform/keststorage.h"
#include "reply.h"

namespace {

constexpr char kAccessLog[] = "/var/log/httpd-access.log";
constexpr char kTitleStyle[] = "{font-size: 18px; font-weight: bold; text-align: left;}";
constexpr char kLegendStyle[] = "{font-size: 12px;}";
constexpr char kLineColour[] = "#17678c";
// In pairs: what is used of a volume, and what is free.
constexpr const char* kSliceColours[] = {"#17678c", "#a9cfe0", "#8c4a17", "#e6c3a4",
                                         "#2f7d4f", "#b4dcc3", "#6b3f8c", "#d3bce3"};

class Words {
 public:
  const char* operator()(const char* key) const { return bundle_.Text(key, key); }
  std::string Filled(const char* key, const Json::Value& values) const {
    return WebUtils::Template((*this)(key)).ApplyValues(values);
  }

 private:
  char section_[6] = "chart";
  mutable StringBundle bundle_{section_, nullptr, nullptr, nullptr, nullptr, nullptr};
};

// As people read it: "931.5 GiB".
std::string ReadableSize(uint64_t bytes, const Words& words) {
  constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  double amount = static_cast<double>(bytes) / 1024;
  size_t unit = 0;
  for (; amount >= 1024 && unit + 1 < std::size(kUnits); ++unit) amount /= 1024;
  char text[32];
  snprintf(text, sizeof(text), "%.1f %s", amount, kUnits[unit]);
  std::string readable = text;
  readable.replace(readable.find('.'), 1, words("decimal_point"));
  return readable;
}

Json::Value Slice(const char* key, const char* volume, uint64_t bytes, const Words& words) {
  Json::Value values;
  values["volume"] = volume;
  values["size"] = ReadableSize(bytes, words);
  Json::Value slice;
  slice["value"] = Json::UInt64{bytes};
  slice["label"] = words.Filled(key, values);
  return slice;
}

// Two slices for each mounted volume whose size is known.
Json::Value VolumeSlices(const Words& words) {
  Json::Value slices(Json::arrayValue);
  KESTMOUNTVOL* const volumes = KESTMountVolInfoEnum(0);
  for (const KESTMOUNTVOL* volume = volumes; volume != nullptr; volume = volume->next) {
    if (volume->totalBytes == 0) continue;
    const uint64_t free_bytes = std::min(volume->freeBytes, volume->totalBytes);
    slices.append(Slice("used", volume->path, volume->totalBytes - free_bytes, words));
    slices.append(Slice("free", volume->path, free_bytes, words));
  }
  KESTMountVolInfoFree(volumes);
  return slices;
}

int ReplyVolumes(Tarvel& request, const Words& words) {
  const Json::Value slices = VolumeSlices(words);
  if (slices.empty()) return site::Refuse(request, "chart", "error_no_volumes");

  std::vector<const char*> colours;
  for (Json::ArrayIndex i = 0; i < slices.size(); ++i) colours.push_back(kSliceColours[i % std::size(kSliceColours)]);
  colours.push_back(nullptr);
  _tag_KEST_CHART_PIE_ELEM_ pie = {};
  pie.animate = 1;
  pie.alpha = 0.9F;
  pie.colours = colours.data();

  Json::Value chart;
  OFCChart::TitleSet(words("volumes"), kTitleStyle, chart["title"]);
  OFCChart::PieElemConfSet(&pie, chart["elements"][0]);
  chart["elements"][0]["values"] = slices;
  return site::Send(request, chart);
}

// The hours are those of the appliance's own time zone.
std::string EnterTimeZone() {
  KestConf settings;
  char key[] = "timezone", utc[] = "UTC";
  std::string zone = settings.Info(key, utc);
  setenv("TZ", zone.c_str(), 1);
  tzset();
  return zone;
}

long ZoneOffset(time_t moment) {
  tm local = {};
  localtime_r(&moment, &local);
  return local.tm_gmtoff;
}

std::vector<std::string> HourLabels(time_t now) {
  std::vector<std::string> labels;
  tm local = {};
  localtime_r(&now, &local);
  const time_t this_hour = now - local.tm_min * 60 - local.tm_sec;
  for (int back = site::kHoursCounted - 1; back >= 0; --back) {
    const time_t hour = this_hour - back * 3600;
    localtime_r(&hour, &local);
    char text[16];
    snprintf(text, sizeof(text), "%02d:%02d", local.tm_hour, local.tm_min);
    labels.emplace_back(text);
  }
  return labels;
}

// About five steps of 1, 2 or 5 and noughts, so that `top` fits below `max`.
void ScaleFor(int64_t top, _tag_KEST_CHART_Y_AXIS_& axis) {
  constexpr int64_t kHighest = 1000000000;
  top = std::clamp<int64_t>(top, 1, kHighest);
  int64_t step = 1;
  for (int i = 0; step * 5 < top; ++i) step = i % 3 == 1 ? step / 2 * 5 : step * 2;
  axis.steps = static_cast<int>(step);
  axis.max = static_cast<int>((top + step - 1) / step * step);
}

void DescribeHours(Json::Value& chart, const std::vector<std::string>& labels) {
  std::vector<const char*> texts;
  for (const std::string& label : labels) texts.push_back(label.c_str());
  texts.push_back(nullptr);
  _tag_KEST_CHART_X_AXIS_ axis = {};
  axis.steps = axis.labelSteps = 3;
  axis.size = 12;
  axis.stroke = 1;
  axis.labels = texts.data();
  OFCChart::XAxisSet(&axis, chart["x_axis"]);
}

void DescribeCounts(Json::Value& chart, const site::RequestsPerHour& requests, const Words& words) {
  _tag_KEST_CHART_LINE_ELEM_ line = {};
  line.width = 2;
  line.dotSize = 3;
  line.fontSize = 13;
  line.colour = kLineColour;
  line.text = words("line");
  Json::Value& element = chart["elements"][0];
  OFCChart::LineElemConfSet(&line, element);
  int64_t top = 0;
  for (size_t hour = 0; hour < requests.count.size(); ++hour) {
    const bool known = static_cast<int>(hour) >= requests.first_known;
    element["values"].append(known ? Json::Value(Json::Int64{requests.count[hour]}) : Json::Value());
    if (known) top = std::max(top, requests.count[hour]);
  }
  _tag_KEST_CHART_Y_AXIS_ axis = {};
  ScaleFor(top, axis);
  axis.stroke = "1";
  OFCChart::YAxisSet(&axis, chart["y_axis"]);
}

int ReplyRequests(Tarvel& request, const Words& words) {
  Json::Value legend;
  legend["zone"] = EnterTimeZone();
  const time_t now = time(nullptr);
  site::RequestsPerHour requests;
  const site::AccessLog log = site::CountRequests(kAccessLog, now, ZoneOffset(now), requests);
  if (log == site::AccessLog::kMissing) return site::Refuse(request, "chart", "error_no_log");
  if (log == site::AccessLog::kUnreadable) return site::Refuse(request, "chart", "error_log_unreadable");

  Json::Value chart;
  const bool partly = requests.first_known > 0;
  const std::string hours = partly ? words.Filled("hours_partly", legend) : words.Filled("hours", legend);
  OFCChart::TitleSet(words("requests"), kTitleStyle, chart["title"]);
  OFCChart::XLegendSet(hours.c_str(), kLegendStyle, chart["x_legend"]);
  OFCChart::YLegendSet(words("line"), kLegendStyle, chart["y_legend"]);
  DescribeHours(chart, HourLabels(now));
  DescribeCounts(chart, requests, words);
  return site::Send(request, chart);
}

}  // namespace

int main() {
  Tarvel request(true);
  const std::string chart = request.In("chart", "");
  const auto position = chart == "requests" ? KEST_CGI_POSITION_ADMINISTRATION : KEST_CGI_POSITION_ACCOUNT;
  if (!request.IsAuthorized(nullptr, 1, position)) return 0;
  const Words words;
  if (chart == "volumes") return ReplyVolumes(request, words);
  if (chart == "requests") return ReplyRequests(request, words);
  return site::Refuse(request, "error", "error_bad_request");
}
