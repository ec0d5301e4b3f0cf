// draft.cgi: keeps what an account has typed into a form and not yet saved.
//
//   POST {"action": "save", "form": "general", "values": {field: text, ...}}
//   POST {"action": "load", "form": "general"}      data: {"saved": seconds since 1970, "values": {...}}, or null
//   POST {"action": "remove", "form": "general"}
//
// One module record per form and account; see RecordName for why its name is spelt in hexadecimal digits.
#include <tarvel/tarvel.h>

#include <climits>
#include <ctime>
#include <string>

#include "reply.h"

namespace {

constexpr size_t kMaxFields = 64;
constexpr size_t kMaxBytes = 16384;

// The text member `name`, or "" when it is absent or no text.
std::string Word(const Json::Value& object, const char* name) {
  const Json::Value& value = object[name];
  return value.isString() ? value.asString() : std::string();
}

bool IsFormName(const std::string& form) {
  return !form.empty() && form.size() <= 16 &&
         form.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == std::string::npos;
}

bool IsValues(const Json::Value& values) {
  if (!values.isObject() || values.size() > kMaxFields) return false;
  size_t bytes = 0;
  for (const std::string& field : values.getMemberNames()) {
    if (!values[field].isString()) return false;
    bytes += field.size() + values[field].asString().size();
  }
  return bytes <= kMaxBytes;
}

// Module data takes a name as it is. An account name may hold "/" or end in ".tmp" (the name under which another
// record is being written), so only its hexadecimal digits are used. Empty: the name does not fit into a file name.
std::string RecordName(const std::string& form, const std::string& user) {
  static const char kDigits[] = "0123456789abcdef";
  std::string name = "draft-" + form + "-";
  for (const char c : user) {
    const auto byte = static_cast<unsigned char>(c);
    name += kDigits[byte >> 4];
    name += kDigits[byte & 15];
  }
  return name.size() + sizeof(".tmp") <= NAME_MAX ? name : std::string();
}

int Save(Tarvel& request, const std::string& record, const Json::Value& values) {
  if (!IsValues(values)) return site::Refuse(request, "error", "error_bad_request");
  Json::Value draft;
  draft["saved"] = Json::Int64(time(nullptr));
  draft["values"] = values;

  // The write never reports a failure, so what is kept now is read back.
  Json::Value kept;
  request.WriteModuleData(record.c_str(), draft);
  if (!request.ReadModuleData(record.c_str(), kept) || kept != draft) {
    return site::Refuse(request, "error", "error_save_failed");
  }
  return site::Succeed(request, Json::Value());
}

int Load(Tarvel& request, const std::string& record) {
  Json::Value draft;
  if (!request.ReadModuleData(record.c_str(), draft) || !draft.isObject()) draft = Json::Value();
  return site::Succeed(request, draft);
}

int Remove(Tarvel& request, const std::string& record) {
  const bool removed = !request.IsModuleDataExist(record.c_str()) || request.RemoveModuleData(record.c_str()) == 0;
  return removed ? site::Succeed(request, Json::Value()) : site::Refuse(request, "common", "error_system");
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!site::IsOwnPost()) return site::RefuseChange(request);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ADMINISTRATION)) return 0;

  // In() is null unless the body is a JSON document with something in it, which may still be of any type.
  const Json::Value* body = request.In();
  if (body == nullptr || !body->isObject()) return site::Refuse(request, "error", "error_bad_request");
  const std::string action = Word(*body, "action");
  const std::string form = Word(*body, "form");
  const std::string record = IsFormName(form) ? RecordName(form, request.GetLoginUserName()) : std::string();
  if (record.empty()) return site::Refuse(request, "error", "error_bad_request");

  if (action == "save") return Save(request, record, (*body)["values"]);
  if (action == "load") return Load(request, record);
  if (action == "remove") return Remove(request, record);
  return site::Refuse(request, "error", "error_unknown_action");
}
