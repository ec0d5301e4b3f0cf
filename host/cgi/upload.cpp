// Receiving an upload: files go to the staging directory, ordinary fields into the parameters.
#include <stdlib.h>

#include "host/cgi/context.h"
#include "host/cgi/form_decode.h"
#include "host/cgi/multipart_reader.h"
#include "host/cgi/part_header.h"
#include "host/cgi/refusal.h"
#include "host/cgi/request_body.h"

namespace kest {
namespace {

constexpr int kBadCall = -1;
constexpr int kRefused = -2;
constexpr int kStorageFailed = -3;

int RefuseUpload(RefusalReason reason) {
  Refuse(reason);
  return reason == RefusalReason::kUploadStorage ? kStorageFailed : kRefused;
}

// What the reader's refusal to go on means for the request.
int RefuseStep(MultipartReader::Step step) {
  if (step == MultipartReader::Step::kTooLarge) return RefuseUpload(RefusalReason::kUploadHeader);
  if (step == MultipartReader::Step::kMalformed) return RefuseUpload(RefusalReason::kUploadMalformed);
  return kRefused;
}

// Names that the core gives to a file's path and size: a client must not make them up.
bool IsReserved(std::string_view name) {
  const auto ends_with = [&](std::string_view end) {
    return name.size() >= end.size() && name.substr(name.size() - end.size()) == end;
  };
  return ends_with(".path") || ends_with(".size");
}

class UploadReceiver {
 public:
  UploadReceiver(KestCgiCore* core, const char* directory, MultipartReader* reader)
      : core_(core), directory_(directory), reader_(reader) {}

  // Files received, or a negative result: what was received until then is the caller's to drop.
  int Receive() {
    int result = ReceiveParts();
    if (result == 0) result = AddQuery();
    if (result == 0 && !core_->staged.Publish()) result = RefuseUpload(RefusalReason::kUploadStorage);
    return result == 0 ? static_cast<int>(core_->staged.Count()) : result;
  }

 private:
  int ReceiveParts() {
    std::string_view header;
    MultipartReader::Step step;
    for (uint64_t parts = 0; (step = reader_->NextPart(&header)) == MultipartReader::Step::kMore; ++parts) {
      if (parts >= LimitOf(Limit::kUploadParts)) return RefuseUpload(RefusalReason::kUploadTooManyParts);
      const int result = ReceivePart(header);
      if (result != 0) return result;
    }
    return step == MultipartReader::Step::kEnd ? 0 : RefuseStep(step);
  }

  int ReceivePart(std::string_view lines) {
    PartHeader header;
    if (!ParsePartHeader(lines, static_cast<size_t>(LimitOf(Limit::kPartHeaderLines)), &header)) {
      return RefuseUpload(RefusalReason::kUploadHeader);
    }
    if (!ParameterAllowed(header.name, core_->parameters.Count())) return kRefused;
    const bool known = core_->parameters.Find(header.name) != nullptr;
    const bool file_known = core_->parameters.Find(header.name + ".size") != nullptr;
    // One name for a file and something else would let a field pass for the file's checked name.
    if (IsReserved(header.name) || (header.is_file && known) || file_known) {
      return RefuseUpload(RefusalReason::kUploadHeader);
    }
    return header.is_file ? ReceiveFile(header) : ReceiveField(header.name);
  }

  // An ordinary field: its value is held in memory, so all of them together are bounded like a body.
  int ReceiveField(const std::string& name) {
    std::string value;
    std::string_view piece;
    MultipartReader::Step step;
    while ((step = reader_->NextPiece(&piece)) == MultipartReader::Step::kMore) {
      field_bytes_ += piece.size();
      if (field_bytes_ > LimitOf(Limit::kBodyBytes)) return RefuseUpload(RefusalReason::kUploadFieldTooLarge);
      if (piece.find('\0') != std::string_view::npos) return RefuseUpload(RefusalReason::kNulByte);
      value.append(piece);
    }
    if (step != MultipartReader::Step::kEnd) return RefuseStep(step);
    core_->parameters.AddCopy(name, value);
    return 0;
  }

  // A file, staged from its first byte on; without a name and without a byte nobody chose one.
  int ReceiveFile(const PartHeader& header) {
    std::string_view piece;
    MultipartReader::Step step = reader_->NextPiece(&piece);
    if (step == MultipartReader::Step::kEnd && header.file_name.empty()) {
      core_->parameters.AddCopy(header.name, "");
      return 0;
    }
    if (!core_->staged.Begin(directory_)) return RefuseUpload(RefusalReason::kUploadStorage);
    for (; step == MultipartReader::Step::kMore; step = reader_->NextPiece(&piece)) {
      if (!core_->staged.Write(piece)) return RefuseUpload(RefusalReason::kUploadStorage);
    }
    if (step != MultipartReader::Step::kEnd) return RefuseStep(step);
    core_->parameters.AddCopy(header.name, ClientBaseName(header.file_name));
    core_->parameters.AddCopy(header.name + ".path", core_->staged.LastPath());
    core_->parameters.AddCopy(header.name + ".size", std::to_string(core_->staged.LastSize()));
    return 0;
  }

  // Parameters of the URL stand behind those of the body, and make up no file either.
  int AddQuery() {
    TextPairs query;
    const char* const text = getenv("QUERY_STRING");
    if (text != nullptr && DecodeForm(text, &query) < 0) return kRefused;
    for (size_t i = 0; i < query.Count(); ++i) {
      if (IsReserved(query.NameAt(i))) return RefuseUpload(RefusalReason::kUploadHeader);
    }
    return DecodeQueryOnce(core_) < 0 ? kRefused : 0;
  }

  KestCgiCore* const core_;
  const char* const directory_;
  MultipartReader* const reader_;
  uint64_t field_bytes_ = 0;
};

int LoadUpload(KestCgiCore* core, const char* directory) {
  // Standard input gives the body once.
  static bool asked = false;
  if (asked || !RequestIsUpload()) return kBadCall;
  asked = true;
  uint64_t length = 0;
  if (!AnnouncedLength(Limit::kUploadBytes, &length)) return kRefused;
  std::string boundary;
  if (!BoundaryOf(getenv("CONTENT_TYPE"), &boundary)) return RefuseUpload(RefusalReason::kUploadMalformed);
  BodyReader body(length);
  MultipartReader reader(&body, boundary, static_cast<size_t>(LimitOf(Limit::kPartHeaderBytes)));
  return UploadReceiver(core, directory, &reader).Receive();
}

}  // namespace
}  // namespace kest

int KestCgiLoadUploadData(KESTCGI* ctx, const char* dir, int /*zero*/) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr || dir == nullptr) return kest::kBadCall;
  const size_t before = core->parameters.Count();
  const int result = kest::Guarded(kest::kStorageFailed, [&] { return kest::LoadUpload(core, dir); });
  if (result < 0) {
    core->parameters.Truncate(before);
    core->staged.RemoveAll();
  }
  return result;
}
