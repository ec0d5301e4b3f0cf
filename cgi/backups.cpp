// backups.cgi: the backup tasks and when each runs.
//
//   GET   {"data": {"items": [{"name", "kind", "state", "summary"}, ...]}, "success": true}
//
// "kind" is "local", "network", "cloud", or "" when the task's record cannot be understood; "state" is "on", "off", or
// "unknown" when the scheduler does not answer. "summary" is the schedule in one line, of a task that is off the one by
// which it would run.
#include <tarvel/tarvel.h>

#include <string>
#include <vector>

#include "backup_store.h"
#include "reply.h"
#include "who.h"

namespace {

Json::Value Describe(const std::string& name) {
  site::BackupTask task;
  Json::Value item;
  item["name"] = name;
  const bool whole = site::ReadBackupTask(name, task) && task.kind != nullptr;
  item["kind"] = whole ? task.kind->word : "";
  bool enabled = false;
  const bool asked = whole && site::AskScheduler(name, *task.kind, enabled, task.schedule);
  item["state"] = !asked ? "unknown" : enabled ? "on" : "off";
  item["summary"] = asked ? site::Summary(task.schedule) : "";
  return item;
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  std::vector<std::string> names;
  if (!site::ListBackupTasks(names)) return site::Refuse(request, "error", "error_backups_not_read");
  Json::Value data;
  data["items"] = Json::Value(Json::arrayValue);
  for (const std::string& name : names) data["items"].append(Describe(name));
  return site::Succeed(request, data);
}
