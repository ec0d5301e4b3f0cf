// JSON that a client sends or that a file holds, through the library.
#include <json/json.h>

#include "fuzz_input.h"
#include "scratch_folder.h"
#include "tarvel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const ScratchFolder folder;
  const std::string bytes = FuzzInput(data, size).Rest();
  std::string text = bytes.c_str();
  Tarvel request(false);
  const bool loaded = request.LoadJSONParam(text.data());
  const Json::Value* const parameters = request.In();
  if (loaded && parameters != nullptr) Require(parameters->isObject() || parameters->isArray());

  const std::string path = folder.Put("record", bytes);
  char* const read = request.szReadFile(path.c_str());
  Require(read != nullptr && bytes.compare(0, bytes.size() + 1, std::string(read, bytes.size())) == 0);
  free(read);

  Json::Value record;
  Require(request.ReadTmp(path.c_str(), record) == loaded);
  if (!loaded) return 0;
  // What was written is read back, and written the same again.
  request.WriteTmp(path.c_str(), record);
  Json::Value again;
  char* const first = request.szReadFile(path.c_str());
  Require(request.ReadTmp(path.c_str(), again));
  request.WriteTmp(path.c_str(), again);
  char* const second = request.szReadFile(path.c_str());
  Require(first != nullptr && second != nullptr);
  free(first);
  free(second);
  Require(folder.Count() == 1);
  return 0;
}
