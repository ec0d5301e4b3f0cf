// A whole upload: what is staged is what the parameters say, and a refused upload leaves nothing.
//
// The receiver's source is part of this program, because a process takes one upload only and this one takes many.
#include "host/cgi/upload.cpp"

#include "arriving_body.h"
#include "fuzz_input.h"
#include "platform/klib.h"
#include "scratch_folder.h"

namespace {

void RequireHarmlessName(const std::string& name) {
  Require(!name.empty() && name.size() <= 255 && name != "." && name != "..");
  Require(name.find_first_of("/\\") == std::string::npos);
  for (const char c : name) Require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7f);
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Whatever parameter claims to be a file's path or size is one: the file lies in the folder and has the size announced.
// No other file is there.
void RequireStagedAsSaid(const kest::TextPairs& parameters, const ScratchFolder& folder) {
  size_t files = 0;
  for (size_t i = 0; i < parameters.Count(); ++i) {
    const std::string claim(parameters.NameAt(i));
    if (!EndsWith(claim, ".path") && !EndsWith(claim, ".size")) continue;
    const std::string name = claim.substr(0, claim.size() - 5);
    const char* const client_name = parameters.Find(name);
    const char* const path = parameters.Find(name + ".path");
    const char* const bytes = parameters.Find(name + ".size");
    Require(client_name != nullptr && path != nullptr && bytes != nullptr);
    RequireHarmlessName(client_name);
    Require(std::string(path).rfind(folder.Path() + "/", 0) == 0);
    struct stat status;
    Require(lstat(path, &status) == 0 && S_ISREG(status.st_mode) && (status.st_mode & 0777) == 0600);
    Require(std::to_string(status.st_size) == bytes);
    files += EndsWith(claim, ".path") ? 1 : 0;
  }
  Require(folder.Count() == files);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const ScratchFolder folder;
  FuzzInput input(data, size);
  const size_t step = 1 + input.Choice(256);
  const std::string type = input.TextLine();
  setenv("QUERY_STRING", input.TextLine().c_str(), 1);
  const std::string bytes = input.Rest();
  std::string boundary;
  if (!kest::BoundaryOf(type, &boundary)) return 0;
  Require(!boundary.empty() && boundary.size() <= 70);

  {
    const ArrivingBody arriving(bytes, step);
    KestCgiCore core;
    kest::BodyReader body(bytes.size());
    kest::MultipartReader reader(&body, boundary, 8192);
    const int result = kest::UploadReceiver(&core, folder.Path().c_str(), &reader).Receive();
    if (result >= 0) {
      RequireStagedAsSaid(core.parameters, folder);
      Require(static_cast<size_t>(result) == folder.Count());
    }
  }
  Require(folder.Count() == 0);
  return 0;
}
