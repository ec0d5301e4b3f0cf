// How the programs of the site answer. Forms answer through ServerFormHandler; everything else through this.
#ifndef CGI_REPLY_H
#define CGI_REPLY_H

#include <tarvel/string_bundle.h>
#include <tarvel/tarvel.h>

#include <cstdlib>
#include <cstring>

namespace site {

/// Whether the request was sent by a page of this site, as far as the browser tells. A page of another port of this
/// very machine counts as the same site for cookies, but names another origin (RFC 6454).
inline bool IsOwnOrigin() {
  const char* origin = getenv("HTTP_ORIGIN");
  const char* host = getenv("HTTP_HOST");
  if (origin == nullptr) return true;
  const char* scheme_end = strstr(origin, "://");
  return host != nullptr && scheme_end != nullptr && strcmp(scheme_end + strlen("://"), host) == 0;
}

inline bool IsPost() {
  const char* method = getenv("REQUEST_METHOD");
  return method != nullptr && strcmp(method, "POST") == 0;
}

/// A request may change something only when a page of this site posted it: a link or an image in somebody's mail sends
/// a GET, a form of another site names its origin.
inline bool IsOwnPost() { return IsPost() && IsOwnOrigin(); }

/// Queues the status of a change that was not posted, or not from here.
inline void AddChangeRefusal(Tarvel& request) {
  request.AddHeader("Status", IsPost() ? "403 Forbidden" : "405 Method Not Allowed");
  if (!IsPost()) request.AddHeader("Allow", "POST");
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

/// A message beside a field, in the shape of a settings form; the key is one of the section "error".
inline int RefuseField(Tarvel& request, const char* field, const char* key) {
  char section[] = "error";
  Json::Value reply;
  reply["success"] = false;
  reply["errors"][field] = StringBundle(section, nullptr, nullptr, nullptr, nullptr, nullptr).Text(key, "");
  return Send(request, reply);
}

/// Refuses such a change.
inline int RefuseChange(Tarvel& request) {
  AddChangeRefusal(request);
  return Refuse(request, "error", "error_not_posted");
}

}  // namespace site

#endif  // CGI_REPLY_H
