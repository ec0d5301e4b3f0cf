#ifndef KEST_HOST_CGI_FORM_MODULE_H_
#define KEST_HOST_CGI_FORM_MODULE_H_

#include "host/module/module.h"

// Unescaping of urlencoded text, mapped when a request holds a "%" or "+".
struct KestFormModule {
  // Unescapes in place: "+" is a blank, %XX a byte, once only; what is no such escape stays as it is.
  // @return the new end of the text; a NUL before it was escaped in the text
  const char* (*unescape)(char* text);
};
KEST_MODULE_TABLE(KestFormModule, KestFormModuleTable);

#endif  // KEST_HOST_CGI_FORM_MODULE_H_
