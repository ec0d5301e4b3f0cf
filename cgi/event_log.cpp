// event_log.cgi: the newest entries of the event log, the newest first.
//
//   GET [count=20]   {"data": {"items": [{"time", "category", "level", "event", "texts"}, ...]}, "success": true}
//
// "time" is in UTC as ISO 8601 writes it, "event" the identifier as "0x12400010", "texts" what fills the event's
// message.
//
// The platform writes entries and has no call that reads them; its own tool prints them, one to a line.
#include <tarvel/tarvel.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "name_text.h"
#include "program_stream.h"
#include "reply.h"
#include "who.h"

namespace {

constexpr char kTool[] = "/usr/kest/bin/kestjob";
constexpr char kUsualCount[] = "20";
constexpr size_t kMostCount = 200;
// Time, category, level, event, and the texts.
constexpr size_t kFirstText = 4;

std::vector<std::string> Columns(const std::string& line) {
  std::vector<std::string> columns;
  for (size_t at = 0; at <= line.size();) {
    const size_t end = std::min(line.find('\t', at), line.size());
    columns.push_back(line.substr(at, end - at));
    at = end + 1;
  }
  return columns;
}

Json::Value Describe(const std::vector<std::string>& columns) {
  Json::Value item;
  item["time"] = columns[0];
  item["category"] = atoi(columns[1].c_str());
  item["level"] = atoi(columns[2].c_str());
  item["event"] = columns[3];
  item["texts"] = Json::Value(Json::arrayValue);
  for (size_t i = kFirstText; i < columns.size(); ++i) item["texts"].append(site::AsUtf8(columns[i]));
  return item;
}

// False when the tool failed or prints something else.
bool ReadEvents(const std::string& count, std::vector<Json::Value>& items) {
  site::ProgramStream tool({kTool, "log", count});
  if (tool.stream() == nullptr) return false;
  char* line = nullptr;
  size_t room = 0;
  bool understood = true;
  for (ssize_t bytes; (bytes = getline(&line, &room, tool.stream())) > 0;) {
    if (line[bytes - 1] == '\n') --bytes;
    const auto columns = Columns(std::string(line, static_cast<size_t>(bytes)));
    understood = understood && columns.size() > kFirstText;
    if (understood) items.push_back(Describe(columns));
  }
  free(line);
  return tool.Finish() && understood;
}

bool IsCount(const std::string& text) {
  return !text.empty() && text.size() <= 3 && text.find_first_not_of("0123456789") == std::string::npos &&
         atoi(text.c_str()) >= 1 && static_cast<size_t>(atoi(text.c_str())) <= kMostCount;
}

}  // namespace

int main() {
  Tarvel request(true);
  // Pages ask again and again: that is no activity.
  if (!request.IsAuthorized(nullptr, site::kPoll, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  const std::string count = request.In("count", kUsualCount);
  if (!IsCount(count)) {
    request.AddHeader("Status", "400 Bad Request");
    return site::Refuse(request, "error", "error_bad_request");
  }
  std::vector<Json::Value> items;
  if (!ReadEvents(count, items)) return site::Refuse(request, "error", "error_events_not_read");
  Json::Value data;
  data["items"] = Json::Value(Json::arrayValue);
  for (auto item = items.rbegin(); item != items.rend(); ++item) data["items"].append(*item);
  return site::Succeed(request, data);
}
