#ifndef TARVEL_FORM_HANDLER_H
#define TARVEL_FORM_HANDLER_H

#include <json/value.h>

#include <memory>
#include <string>
#include <vector>

#include "tarvel.h"
#include "tarvel_export.h"

/// @file
/// Settings forms: a handler that answers one form's "load" and "apply", and a validator that checks its fields.
///
///     class General : public ServerFormHandler {
///      public:
///       int Load() override {
///         Json::Value data;
///         data["port"] = "5000";
///         ReportSuccess(data);
///         return 1;
///       }
///       int Apply() override {
///         FormValidator form;
///         form.AddNumberField("port", 1, 65535);
///         if (form.Validate(*this)) {
///           ReportSuccess(Json::Value());
///         } else {
///           ReportError();
///         }
///         return 1;
///       }
///     };
///
///     int main() { General().Process(); }
///
/// Nothing here logs. Nothing here throws for bad input; memory exhaustion passes as std::bad_alloc.

/// Decides whether the text of one named request field is acceptable. FormValidator makes and owns these.
class TARVEL_EXPORT FieldValidator {
 public:
  /// @param name  name of the request's field, copied; never null
  explicit FieldValidator(const char* name);

  /// @param value  the field's text as the request gave it; never changed
  /// @return true when the value is acceptable
  virtual bool Validate(const std::string& value) = 0;

  /// The localisation key of the last rejection's message.
  ///
  /// @return the key, in the section "error". The base class has no message of its own and returns the marker
  ///         "_kest_invalid_defalut_key"
  virtual std::string GetInvalidErrKey();

  virtual ~FieldValidator();

  FieldValidator(const FieldValidator&) = delete;
  FieldValidator& operator=(const FieldValidator&) = delete;

 private:
  friend class FormValidator;

  const std::string name;
};

/// A text of limited length.
class TARVEL_EXPORT TextFieldValidator : public FieldValidator {
 public:
  /// @param name        name of the request's field
  /// @param maxLength   greatest length accepted, in bytes (not characters); 0 for no limit
  /// @param allowEmpty  whether "" is accepted
  TextFieldValidator(const char* name, unsigned int maxLength, bool allowEmpty);

  /// @return true unless the value is empty and must not be, or is longer than the limit
  bool Validate(const std::string& value) override;

  /// @return "error_field_too_long" once any value has been too long, and ever after, also for an empty value; the
  ///         marker of the base class before that
  std::string GetInvalidErrKey() override;

 private:
  bool allowEmpty;
  unsigned int maxLength;
  std::string errKey;
};

/// A decimal number in a range.
class TARVEL_EXPORT NumberFieldValidator : public FieldValidator {
 public:
  /// @param name  name of the request's field
  /// @param min   least number accepted
  /// @param max   greatest number accepted
  NumberFieldValidator(const char* name, int min, int max);

  /// @return true when the whole value is one number as `strtol` reads it (white space and a sign may lead) from `min`
  ///         to `max`, both included; "" counts as 0. A number too large for `long` counts as the greatest `long`
  bool Validate(const std::string& value) override;

 private:
  int min;
  int max;
};

/// An IPv4 address or netmask.
class TARVEL_EXPORT IPV4Validator : public FieldValidator {
 public:
  /// @param name    name of the request's field
  /// @param isMask  true for a netmask, false for an address
  IPV4Validator(const char* name, bool isMask);

  /// @return for an address whether `inet_aton` accepts the value (short forms such as "1.2.3" included); for a netmask
  ///         whether the platform does (255.255.255.0)
  bool Validate(const std::string& value) override;

 private:
  bool isMask;
};

/// A date or time.
class TARVEL_EXPORT DateTimeValidator : public FieldValidator {
 public:
  /// @param name    name of the request's field
  /// @param format  a format of `strptime`, copied; null for "%Y/%m/%d"
  DateTimeValidator(const char* name, const char* format);

  /// @return true when `strptime` reads the value to its end; whether that day exists is not asked
  bool Validate(const std::string& value) override;

 private:
  std::string format;
};

/// One of a list of numbers.
class TARVEL_EXPORT IntegerListValidator : public FieldValidator {
 public:
  /// @param name    name of the request's field
  /// @param values  the numbers accepted, copied; not read when `count` is 0 or less
  /// @param count   how many
  IntegerListValidator(const char* name, const int* values, int count);

  /// @return true when the value is not empty, is one number as `strtol` reads it, and is listed
  bool Validate(const std::string& value) override;

 private:
  std::vector<int> values;
};

/// One of a list of texts.
class TARVEL_EXPORT StringListValidator : public FieldValidator {
 public:
  /// @param name    name of the request's field
  /// @param values  the texts accepted
  StringListValidator(const char* name, std::vector<std::string> values);

  /// @return true when the value is listed, byte for byte; "" only when "" is listed
  bool Validate(const std::string& value) override;

 private:
  std::vector<std::string> values;
};

class ServerFormHandler;

/// The rules of one form: its fields, each with what it accepts. Filled by the Add operations, then used for one or
/// more checks; a check leaves the rules as they are. A name may be added more than once, every rule is then checked.
///
/// A field that is present with an empty value is handed to its rule; absent is something else. A request whose body is
/// JSON has no form fields at all, so every field is absent.
class TARVEL_EXPORT FormValidator {
 public:
  /// @param ignoreAbsent  true passes over fields that the request does not have; false makes them failures
  explicit FormValidator(bool ignoreAbsent = false);
  ~FormValidator();

  FormValidator(const FormValidator&) = delete;
  FormValidator& operator=(const FormValidator&) = delete;

  /// @name Rules
  /// Each appends one rule. `name` is the field's name, copied and never null. When memory is short the rules stay as
  /// they were and std::bad_alloc passes.
  /// @{

  /// @param name        see above
  /// @param maxLength   greatest length in bytes, itself accepted; 0 for no limit
  /// @param allowEmpty  whether "" is accepted
  void AddTextField(const char* name, unsigned int maxLength, bool allowEmpty);

  /// A text of any length. Beware of `AddTextField(name, 5)`: it is this one, with `allowEmpty` true.
  ///
  /// @param name        see above
  /// @param allowEmpty  whether "" is accepted
  void AddTextField(const char* name, bool allowEmpty);

  /// @param name     see above
  /// @param min,max  range, both ends accepted
  void AddNumberField(const char* name, int min, int max);

  /// @param name  see above
  void AddIPV4(const char* name);

  /// @param name  see above
  void AddIPV4Mask(const char* name);

  /// @param name    see above
  /// @param format  a format of `strptime`, copied; null for "%Y/%m/%d"
  void AddDateTimeField(const char* name, const char* format);

  /// @param name    see above
  /// @param values  the numbers accepted, copied
  /// @param count   how many; 0 or less for none, which rejects every value
  void AddIntegerList(const char* name, int* values, int count);

  /// @param name    see above
  /// @param values  the texts accepted, copied
  void AddStringList(const char* name, const std::vector<std::string>& values);

  /// @param name    see above
  /// @param values  the texts accepted, copied; none of them null
  /// @param count   how many; 0 or less for none, which rejects every value
  void AddStringList(const char* name, const char** values, int count);

  /// @}

  /// Checks every field of the handler's request and records a message for each bad one in the handler:
  /// "The field is not present.", "The field is not valid.", or the localised text of the rule's own key from the
  /// section "error" (which may be empty). Of two messages for one name the later stays. The handler drops them when a
  /// form-level failure stands already.
  ///
  /// @param handler  the form's handler
  /// @return true when every field passed, or there is none to check
  bool Validate(ServerFormHandler& handler);

  /// Checks the fields of a request up to the first bad one, and records nothing.
  ///
  /// @param request  the request
  /// @return true when every field passed, or there is none to check
  bool Validate(Tarvel& request);

 private:
  std::vector<std::unique_ptr<FieldValidator>> validators;
  bool ignoreAbsent;
};

/// Base class of the programs that serve one settings form each. The browser sends a field "action", "load" to fill the
/// form or "apply" to save it, and gets one JSON reply in one of three shapes:
///
/// | reply                | document                                                                            |
/// |----------------------|-------------------------------------------------------------------------------------|
/// | ReportSuccess()      | `{"success": true, "data": ...}`                                                    |
/// | ReportFailMessage()  | `{"success": false, "errinfo": {"sec": "...", "key": "...", "line": 1}}`            |
/// | ReportInvalid()      | `{"success": false, "errors": {"field": "message"}}`                                |
///
/// Each reply has the content type `text/plain; charset="UTF-8"`, whatever the request's default is, and is flushed.
///
/// The first failure recorded, by SetFieldInvalid() or SetFormErrInfo(), fixes which shape ReportError() writes: the
/// two kinds are never mixed, and nothing takes a failure back. A handler serves one request. It is not copyable, since
/// its request is not.
class TARVEL_EXPORT ServerFormHandler {
 public:
  /// Reads the request's parameters at once.
  ServerFormHandler();

  /// @param loadParams  whether to read the parameters at once; a form that receives an upload passes false
  explicit ServerFormHandler(bool loadParams);

  /// Serves the request: Authenticate(), then Load() or Apply() as the field "action" says. Writes nothing by itself.
  ///
  /// @return the result of Load() or Apply(); 0 when Authenticate() gave 0 (the refusal has been written by then) or
  ///         when there is no "action"; -1 for an "action" that is neither "load" nor "apply" (case counts)
  virtual int Process();

  /// Fills the form, to be written by the program: ends with one of the Report operations.
  ///
  /// @return anything; it becomes Process()'s result
  virtual int Load() = 0;

  /// Saves the form, to be written by the program: ends with one of the Report operations.
  ///
  /// @return anything; it becomes Process()'s result
  virtual int Apply() = 0;

  virtual ~ServerFormHandler();

  /// Asks whether the caller may use the form: `IsAuthorized(NULL, 1, 1)`, which answers a refused request.
  ///
  /// @return 1 when the request may proceed, 0 when it was refused. A replacement that returns 0 must have answered
  virtual int Authenticate();

  /// Records one invalid field, unless a form-level failure stands.
  ///
  /// @param field    name of the field; null does nothing
  /// @param message  what to show beside it, UTF-8; null counts as "". Replaces an earlier message of the same field
  void SetFieldInvalid(const char* field, const char* message);

  /// Records a form-level failure, unless any failure stands.
  ///
  /// @param section  section of the message in the text tables; null counts as ""
  /// @param key      key of the message in that section; null counts as ""
  /// @param line     number to send along; 0 for none, a negative one is sent as unsigned
  void SetFormErrInfo(const char* section, const char* key, int line);

  /// Checks that fields are present, and records "The field is not present." for each that is not.
  ///
  /// @param fields  names; not read when `count` is 0 or less
  /// @param count   how many
  /// @return true when all are present or `count` is 0 or less
  bool ValidNullFields(const char** fields, int count);

  /// @param data  copied into the reply
  void ReportSuccess(const Json::Value& data);

  /// Writes the reply for what was recorded: ReportFailMessage() or ReportInvalid(). Without a failure it writes
  /// nothing, not even flushes.
  void ReportError();

  /// Writes the recorded fields with their messages; "errors" is null when there are none.
  void ReportInvalid();

  /// @param section  section of the message in the text tables
  /// @param key      key of the message in that section
  /// @param line     sent along as "line" unless it is 0
  void ReportFailMessage(const std::string& section, const std::string& key, unsigned int line);

 protected:
  /// The request that the form serves.
  Tarvel request;

 private:
  friend class FormValidator;

  int errState;
  std::string errSection;
  std::string errKey;
  int errLine;
  Json::Value errors;
};

#endif  // TARVEL_FORM_HANDLER_H
