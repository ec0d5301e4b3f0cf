#ifndef KEST_HOST_CGI_REFUSAL_H_
#define KEST_HOST_CGI_REFUSAL_H_

namespace kest {

// Why the request of this process is not served. There is one request per process, so there is one refusal at most.
struct Refusal {
  int status;          // HTTP status of every reply, 400 to 599
  const char* phrase;  // its reason phrase
  const char* reason;  // value of the header "x-request-refused"
};

enum class RefusalReason {
  kContentLength,        // CONTENT_LENGTH is no decimal number
  kLengthRequired,       // a body whose length is not announced
  kBodyTooLarge,         // more than cgi_body_max, or cgi_upload_max for an upload
  kBodyShort,            // the client sent less than it announced
  kNulByte,              // a NUL in the body, in a name or in a value
  kTooManyParameters,    // more than cgi_pairs_max
  kNameTooLong,          // a name above cgi_name_max
  kUploadMalformed,      // no multipart body by its own rules
  kUploadTooManyParts,   // more than cgi_upload_parts_max
  kUploadHeader,         // a part's header above the limits, or without a usable field name
  kUploadFieldTooLarge,  // an ordinary field of an upload above cgi_body_max
  kUploadStorage,        // the staging directory took no more
};

// Remembers why the request is refused. The first reason stays: what follows it is a consequence.
void Refuse(RefusalReason reason);

// The refusal of this request, or nullptr.
const Refusal* CurrentRefusal();

}  // namespace kest

#endif  // KEST_HOST_CGI_REFUSAL_H_
