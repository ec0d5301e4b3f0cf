// volumes.cgi: the mounted volumes of the appliance, as one service sees them.
//
//   GET service=backup   (or web, homes, download, surveillance, audio)
//
//   {"data": {"volume_list": [...], "volume_count": 2, "service_path": "/volume1", ...}, "success": true}
//
// The list is the library's (see Volume::VolumeListGet), each volume with its state beside it; what is mounted and
// cannot be written stands behind it. A browser that has the list already is told so with 304.
#include <tarvel/tarvel.h>
#include <tarvel/volume.h>
#include <tarvel/webutils.h>

#include <cstdio>
#include <cstring>
#include <string>

// The library lists the volumes that can be written only; all that are mounted are listed by the platform.
#include "platform/keststorage.h"
// Digests exist in the platform only.
#include "platform/klib.h"
#include "reply.h"
#include "who.h"

namespace {

struct Service {
  const char* name;
  _tag_SERVICE_ID_ id;
};

constexpr Service kServices[] = {
    {"backup", KEST_SERVICE_BACKUP},
    {"web", KEST_SERVICE_WEB},
    {"homes", KEST_SERVICE_HOMES},
    {"download", KEST_SERVICE_DOWNLOAD},
    {"surveillance", KEST_SERVICE_SURVEILLANCE},
    {"audio", KEST_SERVICE_AUDIO},
};

const Service* FindService(const char* name) {
  for (const Service& service : kServices) {
    if (strcmp(service.name, name) == 0) return &service;
  }
  return nullptr;
}

void AddStates(Json::Value& list) {
  for (Json::Value& volume : list) {
    // The entry of the service's lost external volume has no sizes.
    volume["state"] = volume.isMember("size_total") ? "normal" : "crashed";
  }
}

void AddReadOnly(Json::Value& list) {
  KESTMOUNTVOL* const volumes = KESTMountVolInfoEnum(0);
  for (const KESTMOUNTVOL* volume = volumes; volume != nullptr; volume = volume->next) {
    if (volume->writable != 0) continue;
    std::string id;
    Volume::CGIRenderVolID(volume->path, id);
    Json::Value item;
    item["value"] = id;
    item["display"] = volume->path;
    item["size_free"] = std::to_string(volume->freeBytes);
    item["size_total"] = std::to_string(volume->totalBytes);
    item["state"] = "read_only";
    list.append(item);
  }
  KESTMountVolInfoFree(volumes);
}

Json::Value ListFor(const Service& service) {
  Volume volumes(service.id);
  volumes.SetCheckExtVolume(true);
  Json::Value data(Json::objectValue);
  volumes.VolumeListGet(data, true);
  AddStates(data["volume_list"]);
  AddReadOnly(data["volume_list"]);

  char path[64] = "";
  volumes.VolumeCurrentPathGet(false, path, sizeof(path));
  data["service"] = service.name;
  data["service_path"] = path;
  volumes.VolumeDisplayStatusToString(data["service_state"], true);
  data["system_crashed"] = Volume::IsSystemVolCrashed();
  return data;
}

// The library's tag belongs to the address alone. Behind it stands a digest of what is told, so that another list has
// another tag.
std::string TagOf(const Json::Value& reply) {
  const std::string address = WebUtils::CreateCGIETag();
  unsigned char digest[16];
  if (address.empty() || KLIBSmbMd4Hash(reply.toStyledString().c_str(), digest, sizeof(digest)) != 0) return "";
  std::string tag = address + "-";
  for (const unsigned char byte : digest) {
    char digits[3];
    snprintf(digits, sizeof(digits), "%02x", byte);
    tag += digits;
  }
  return tag;
}

int SendUnlessKnown(Tarvel& request, Json::Value& reply) {
  const std::string tag = TagOf(reply);
  if (WebUtils::OutputNotModifiedIfMatch(tag)) return 0;
  // Kept by the browser, and asked about before each use.
  request.AddHeader("Cache-Control", "private, no-cache");
  if (!tag.empty()) request.AddHeader("ETag", tag.c_str());
  char type[] = "text/plain; charset=\"UTF-8\"";
  request.WriteHeader(type);
  request.WriteBody(reply);
  return 0;
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  const Service* const service = FindService(request.In("service", kServices[0].name));
  if (service == nullptr) return site::Refuse(request, "volumes", "error_unknown_service");
  Json::Value reply;
  reply["success"] = true;
  reply["data"] = ListFor(*service);
  return SendUnlessKnown(request, reply);
}
