// How the programs of the site answer. Forms answer through ServerFormHandler; everything else through this.
#ifndef CGI_REPLY_H
#define CGI_REPLY_H

#include <tarvel/tarvel.h>

#include <cstdlib>
#include <cstring>

namespace site {

/// A request may change something only when it was posted: a link or an image in somebody's mail sends a GET.
inline bool IsPost() {
  const char* method = getenv("REQUEST_METHOD");
  return method != nullptr && strcmp(method, "POST") == 0;
}

/// Sends one reply; the return value is the program's exit status.
inline int Send(Tarvel& request, Json::Value& reply) {
  char type[] = "text/plain; charset=\"UTF-8\"";
  request.AddHeader("Cache-Control", "no-store");
  request.WriteHeader(type);
  request.WriteBody(reply);
  return 0;
}

/// {"data": data, "success": true}
inline int Succeed(Tarvel& request, const Json::Value& data) {
  Json::Value reply;
  reply["success"] = true;
  reply["data"] = data;
  return Send(request, reply);
}

/// The shape in which the library refuses a session: the page looks the words up by section and key.
inline int Refuse(Tarvel& request, const char* section, const char* key) {
  Json::Value reply;
  reply["success"] = false;
  reply["total"] = 0;
  reply["items"] = Json::Value(Json::arrayValue);
  reply["errno"]["section"] = section;
  reply["errno"]["key"] = key;
  return Send(request, reply);
}

/// The refusal of a change that was not posted.
inline int RefuseMethod(Tarvel& request) {
  request.AddHeader("Status", "405 Method Not Allowed");
  request.AddHeader("Allow", "POST");
  return Refuse(request, "error", "error_not_posted");
}

}  // namespace site

#endif  // CGI_REPLY_H
