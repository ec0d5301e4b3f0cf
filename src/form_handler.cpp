#include "form_handler.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <utility>

#include "platform/klib.h"
#include "string_bundle.h"

namespace {

// Misspelt on purpose: this is the agreed marker of a rejection without a message of its own.
constexpr char kDefaultKey[] = "_kest_invalid_defalut_key";
constexpr size_t kDefaultKeyBytes = sizeof kDefaultKey - 1;
constexpr char kTooLongKey[] = "error_field_too_long";
constexpr char kNotPresent[] = "The field is not present.";
constexpr char kNotValid[] = "The field is not valid.";
constexpr char kDefaultDateFormat[] = "%Y/%m/%d";
constexpr char kReplyType[] = "text/plain; charset=\"UTF-8\"";

enum FormFailure { kNoFailure = 0, kFormFailure = 1, kFieldFailure = 2 };

const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }

// True when the whole text was read; "" reads as 0, and a number beyond long saturates.
bool ParseWhole(const std::string& text, long& number) {
  char* end = nullptr;
  number = std::strtol(text.c_str(), &end, 10);
  return *end == '\0';
}

std::vector<std::string> Copies(const char** values, int count) {
  std::vector<std::string> copies;
  for (int i = 0; i < count; ++i) copies.emplace_back(values[i]);
  return copies;
}

void WriteReply(Tarvel& request, Json::Value& reply) {
  std::string type = kReplyType;
  request.WriteHeader(type.data());
  request.WriteBody(reply);
  std::fflush(stdout);
}

void RecordRejection(ServerFormHandler& handler, const char* field, const std::string& key) {
  // A key counts as the default when it merely begins with it.
  if (key.compare(0, kDefaultKeyBytes, kDefaultKey) == 0) {
    handler.SetFieldInvalid(field, kNotValid);
    return;
  }
  char section[] = "error";
  StringBundle texts(section, nullptr, nullptr, nullptr, nullptr, nullptr);
  handler.SetFieldInvalid(field, texts.Text(key.c_str(), ""));
}

}  // namespace

FieldValidator::FieldValidator(const char* field) : name(field) {}

FieldValidator::~FieldValidator() = default;

std::string FieldValidator::GetInvalidErrKey() { return kDefaultKey; }

TextFieldValidator::TextFieldValidator(const char* field, unsigned int limit, bool empty)
    : FieldValidator(field), allowEmpty(empty), maxLength(limit), errKey(kDefaultKey) {}

bool TextFieldValidator::Validate(const std::string& value) {
  if (!allowEmpty && value.empty()) return false;
  if (maxLength == 0 || maxLength >= value.size()) return true;
  // Never reset, on purpose: a later empty value reports this key as well.
  errKey = kTooLongKey;
  return false;
}

std::string TextFieldValidator::GetInvalidErrKey() { return errKey; }

NumberFieldValidator::NumberFieldValidator(const char* field, int least, int greatest)
    : FieldValidator(field), min(least), max(greatest) {}

bool NumberFieldValidator::Validate(const std::string& value) {
  long number = 0;
  return ParseWhole(value, number) && min <= number && number <= max;
}

IPV4Validator::IPV4Validator(const char* field, bool mask) : FieldValidator(field), isMask(mask) {}

bool IPV4Validator::Validate(const std::string& value) {
  if (isMask) return BlKLIBIsIpMask(value.c_str()) != 0;
  in_addr address;
  return inet_aton(value.c_str(), &address) != 0;
}

DateTimeValidator::DateTimeValidator(const char* field, const char* strptime_format)
    : FieldValidator(field), format(strptime_format != nullptr ? strptime_format : kDefaultDateFormat) {}

bool DateTimeValidator::Validate(const std::string& value) {
  std::tm scratch = {};
  const char* end = strptime(value.c_str(), format.c_str(), &scratch);
  return end != nullptr && *end == '\0';
}

IntegerListValidator::IntegerListValidator(const char* field, const int* numbers, int count) : FieldValidator(field) {
  if (count > 0) values.assign(numbers, numbers + count);
}

bool IntegerListValidator::Validate(const std::string& value) {
  long number = 0;
  if (value.empty() || !ParseWhole(value, number)) return false;
  return std::any_of(values.begin(), values.end(), [number](int listed) { return listed == number; });
}

StringListValidator::StringListValidator(const char* field, std::vector<std::string> texts)
    : FieldValidator(field), values(std::move(texts)) {}

bool StringListValidator::Validate(const std::string& value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

FormValidator::FormValidator(bool ignore_absent) : ignoreAbsent(ignore_absent) {}

FormValidator::~FormValidator() = default;

void FormValidator::AddTextField(const char* name, unsigned int maxLength, bool allowEmpty) {
  validators.push_back(std::make_unique<TextFieldValidator>(name, maxLength, allowEmpty));
}

void FormValidator::AddTextField(const char* name, bool allowEmpty) { AddTextField(name, 0, allowEmpty); }

void FormValidator::AddNumberField(const char* name, int min, int max) {
  validators.push_back(std::make_unique<NumberFieldValidator>(name, min, max));
}

void FormValidator::AddIPV4(const char* name) { validators.push_back(std::make_unique<IPV4Validator>(name, false)); }

void FormValidator::AddIPV4Mask(const char* name) { validators.push_back(std::make_unique<IPV4Validator>(name, true)); }

void FormValidator::AddDateTimeField(const char* name, const char* format) {
  validators.push_back(std::make_unique<DateTimeValidator>(name, format));
}

void FormValidator::AddIntegerList(const char* name, int* values, int count) {
  validators.push_back(std::make_unique<IntegerListValidator>(name, values, count));
}

void FormValidator::AddStringList(const char* name, const std::vector<std::string>& values) {
  validators.push_back(std::make_unique<StringListValidator>(name, values));
}

void FormValidator::AddStringList(const char* name, const char** values, int count) {
  validators.push_back(std::make_unique<StringListValidator>(name, Copies(values, count)));
}

bool FormValidator::Validate(ServerFormHandler& handler) {
  bool valid = true;
  for (const auto& validator : validators) {
    const char* name = validator->name.c_str();
    const char* value = handler.request.In(name, nullptr);
    if (value == nullptr) {
      if (ignoreAbsent) continue;
      handler.SetFieldInvalid(name, kNotPresent);
      valid = false;
    } else if (!validator->Validate(value)) {
      RecordRejection(handler, name, validator->GetInvalidErrKey());
      valid = false;
    }
  }
  return valid;
}

bool FormValidator::Validate(Tarvel& request) {
  for (const auto& validator : validators) {
    const char* value = request.In(validator->name.c_str(), nullptr);
    if (value == nullptr && ignoreAbsent) continue;
    if (value == nullptr || !validator->Validate(value)) return false;
  }
  return true;
}

ServerFormHandler::ServerFormHandler() : ServerFormHandler(true) {}

ServerFormHandler::ServerFormHandler(bool loadParams) : request(loadParams), errState(kNoFailure), errLine(0) {}

ServerFormHandler::~ServerFormHandler() = default;

int ServerFormHandler::Process() {
  if (Authenticate() == 0) return 0;
  const char* action = request.In("action", nullptr);
  if (action == nullptr) return 0;
  if (std::strcmp(action, "load") == 0) return Load();
  if (std::strcmp(action, "apply") == 0) return Apply();
  return -1;
}

int ServerFormHandler::Authenticate() {
  return request.IsAuthorized(nullptr, 1, static_cast<_tag_cgi_position>(1)) ? 1 : 0;
}

void ServerFormHandler::SetFieldInvalid(const char* field, const char* message) {
  if (errState == kFormFailure || field == nullptr) return;
  errState = kFieldFailure;
  errors[field] = OrEmpty(message);
}

void ServerFormHandler::SetFormErrInfo(const char* section, const char* key, int line) {
  if (errState != kNoFailure) return;
  errState = kFormFailure;
  errSection = OrEmpty(section);
  errKey = OrEmpty(key);
  errLine = line;
}

bool ServerFormHandler::ValidNullFields(const char** fields, int count) {
  bool present = true;
  for (int i = 0; i < count; ++i) {
    if (request.In(fields[i], nullptr) != nullptr) continue;
    SetFieldInvalid(fields[i], kNotPresent);
    present = false;
  }
  return present;
}

void ServerFormHandler::ReportSuccess(const Json::Value& data) {
  Json::Value reply;
  reply["success"] = true;
  reply["data"] = data;
  WriteReply(request, reply);
}

void ServerFormHandler::ReportError() {
  if (errState == kFormFailure) {
    ReportFailMessage(errSection, errKey, static_cast<unsigned int>(errLine));
  } else if (errState == kFieldFailure) {
    ReportInvalid();
  }
}

void ServerFormHandler::ReportInvalid() {
  Json::Value reply;
  reply["success"] = false;
  reply["errors"] = errors;
  WriteReply(request, reply);
}

void ServerFormHandler::ReportFailMessage(const std::string& section, const std::string& key, unsigned int line) {
  Json::Value reply;
  reply["success"] = false;
  reply["errinfo"]["sec"] = section;
  reply["errinfo"]["key"] = key;
  if (line != 0) reply["errinfo"]["line"] = line;
  WriteReply(request, reply);
}
