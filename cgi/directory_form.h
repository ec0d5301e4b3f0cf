// What the forms of an account and of a group have in common.
#ifndef CGI_DIRECTORY_FORM_H
#define CGI_DIRECTORY_FORM_H

#include <string>

#include "directory.h"
#include "settings_form.h"

namespace site {

class DirectoryForm : public SettingsForm {
 protected:
  /// Tells why the platform has just refused to save: beside the name what is about the name.
  int FailToSave(const SaveFailures& failures) {
    const std::string key = WhyNotSaved(failures);
    if (key != failures.taken && key != failures.name) return Fail(key.c_str());
    Refuse("name", key.c_str());
    return Fail(nullptr);
  }
};

}  // namespace site

#endif  // CGI_DIRECTORY_FORM_H
