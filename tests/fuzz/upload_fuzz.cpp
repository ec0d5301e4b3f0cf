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

// Every file that a parameter names lies in the folder, has the size announced, and no other file is there.
void RequireStagedAsSaid(const kest::TextPairs& parameters, const ScratchFolder& folder) {
  size_t files = 0;
  for (size_t i = 0; i < parameters.Count(); ++i) {
    const std::string name(parameters.NameAt(i));
    const char* const path = parameters.Find(name + ".path");
    if (path == nullptr) continue;
    ++files;
    RequireHarmlessName(parameters.Find(name));
    Require(std::string(path).rfind(folder.Path() + "/", 0) == 0);
    struct stat status;
    Require(lstat(path, &status) == 0 && S_ISREG(status.st_mode) && (status.st_mode & 0777) == 0600);
    Require(std::to_string(status.st_size) == parameters.Find(name + ".size"));
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
