// backup_change.cgi: renames, enables, disables or removes a backup task.
//
//   POST action=rename&name=...&new_name=...   a name that is not taken: {"errors": {"new_name": message}, ...}
//   POST action=enable|disable|remove&name=...
//
// A disabled task keeps the schedule by which it ran, and is enabled with it again.
#include <tarvel/tarvel.h>

#include <string>

#include "backup_store.h"
#include "reply.h"
#include "who.h"

namespace {

// A change of one task, under the lock.
struct Request {
  Tarvel& tarvel;
  site::BackupChange& change;
  const std::string& name;
  site::BackupTask& task;  // its kind is null when the record cannot be understood
};

int Done(Tarvel& request) { return site::Succeed(request, Json::Value()); }
int Fail(Tarvel& request, const char* key) { return site::Refuse(request, "error", key); }

int Enable(Request& at) {
  return site::EnableTask(at.name, at.task) ? Done(at.tarvel) : Fail(at.tarvel, "error_save_failed");
}

int Disable(Request& at) {
  bool enabled = false;
  if (!site::AskScheduler(at.name, *at.task.kind, enabled, at.task.schedule))
    return Fail(at.tarvel, "error_no_scheduler");
  if (!enabled) return Done(at.tarvel);
  if (!at.change.Write(at.name, at.task)) return Fail(at.tarvel, "error_save_failed");
  return site::DisableTask(at.name, *at.task.kind) ? Done(at.tarvel) : Fail(at.tarvel, "error_save_failed");
}

// The job goes first: what is not in the list must not run.
int Remove(Request& at) {
  for (const site::BackupKind& kind : site::kBackupKinds) {
    const bool may_be = at.task.kind == nullptr || at.task.kind->type == kind.type;
    if (may_be && !site::DisableTask(at.name, kind)) return Fail(at.tarvel, "error_save_failed");
  }
  return at.change.Remove(at.name) ? Done(at.tarvel) : Fail(at.tarvel, "error_saved_partly");
}

// After a rename that the scheduler did not carry through: the library has removed the old job before it sets the new
// one, and does not put it back.
bool PutBack(Request& at, const std::string& new_name, bool was_enabled) {
  bool is_enabled = false;
  site::BackupTask now = at.task;
  const bool asked = site::AskScheduler(at.name, *at.task.kind, is_enabled, now.schedule);
  const bool scheduled = asked && (is_enabled == was_enabled || site::EnableTask(at.name, at.task));
  return at.change.Remove(new_name) && scheduled;
}

int Rename(Request& at) {
  const std::string new_name = at.tarvel.In("new_name", "");
  if (!site::IsTaskName(new_name)) return site::RefuseField(at.tarvel, "new_name", "error_backup_name");
  if (new_name == at.name) return Done(at.tarvel);
  if (at.change.Has(new_name)) return site::RefuseField(at.tarvel, "new_name", "error_backup_name_taken");
  bool enabled = false;
  if (!site::AskScheduler(at.name, *at.task.kind, enabled, at.task.schedule))
    return Fail(at.tarvel, "error_no_scheduler");
  if (!at.change.Link(at.name, new_name)) return Fail(at.tarvel, "error_save_failed");
  Json::Value nothing_but_the_name;
  if (BkpScheduleSet(nothing_but_the_name, at.name.c_str(), new_name.c_str(), at.task.kind->type) != 1) {
    return Fail(at.tarvel, PutBack(at, new_name, enabled) ? "error_save_failed" : "error_saved_partly");
  }
  return at.change.Remove(at.name) ? Done(at.tarvel) : Fail(at.tarvel, "error_saved_partly");
}

struct Action {
  const char* word;
  int (*run)(Request&);
  bool needs_kind;
};

constexpr Action kActions[] = {
    {"rename", Rename, true},
    {"enable", Enable, true},
    {"disable", Disable, true},
    {"remove", Remove, false},
};

int Change(Tarvel& tarvel, const Action& action) {
  const std::string name = tarvel.In("name", "");
  site::BackupChange change;
  if (!change.IsOpen()) return Fail(tarvel, "error_save_failed");
  site::BackupTask task;
  if (!site::IsTaskName(name) || !change.Has(name)) return Fail(tarvel, "error_backup_gone");
  if (!site::ReadBackupTask(name, task)) task.kind = nullptr;
  if (action.needs_kind && task.kind == nullptr) return Fail(tarvel, "error_backup_damaged");
  Request at = {tarvel, change, name, task};
  return action.run(at);
}

}  // namespace

int main() {
  Tarvel tarvel(true);
  if (!site::IsOwnPost()) return site::RefuseChange(tarvel);
  if (!tarvel.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  const std::string wanted = tarvel.In("action", "");
  for (const Action& action : kActions) {
    if (wanted == action.word) return Change(tarvel, action);
  }
  return site::Refuse(tarvel, "error", "error_unknown_action");
}
