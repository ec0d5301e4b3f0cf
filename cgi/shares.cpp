// shares.cgi: the shared folders of the appliance, a page of them.
//
//   GET offset=0[&prefix=TEXT]
//
//   {"data": {"items": [...], "offset": 0, "total": 500, "full": false}, "success": true}
//
// The items are the library's (see SDK::Share::EnumShares()), 50 of them, each with the label of its volume. "full"
// tells that there are as many shares as there may be.
#include <tarvel/share.h>

#include <map>
#include <string>

#include "directory.h"
#include "name_text.h"
#include "reply.h"
#include "share_lists.h"
#include "share_volume.h"
#include "who.h"

namespace {

constexpr int kVolumeBytes = 512;
// All that there are: also those on external disks and those of services.
constexpr auto kEveryShare =
    static_cast<KEST_SHARE_ENUM>(KEST_SHARE_ENUM_COUNTED | KEST_SHARE_ENUM_EXTERNAL | KEST_SHARE_ENUM_SERVICE);

// The labels of volumes, each looked up once.
class VolumeLabels {
 public:
  const std::string& Of(const std::string& path) {
    const auto found = labels_.find(path);
    return found != labels_.end() ? found->second : labels_[path] = site::AsUtf8(site::LabelOfVolume(path));
  }

 private:
  std::map<std::string, std::string> labels_;
};

Json::Value PageOf(const Json::Value& items, Json::ArrayIndex offset) {
  Json::Value page(Json::arrayValue);
  VolumeLabels labels;
  for (Json::ArrayIndex i = offset; i < items.size() && i - offset < site::kRows; ++i) {
    Json::Value item = items[i];
    const std::string name = item["name"].asString();
    const site::Share share(SDK::Share::LoadShare(name));
    char volume[kVolumeBytes] = "";
    if (share != nullptr) share->GetVolumePath(volume, kVolumeBytes);
    item["volume"] = labels.Of(volume);
    item["name"] = site::AsUtf8(name);
    item["descr"] = site::AsUtf8(item["descr"].asString());
    page.append(item);
  }
  return page;
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  const std::string prefix = request.In("prefix", "");
  Json::Value found;
  if (SDK::Share::EnumShares(kEveryShare, prefix.empty() ? nullptr : prefix.c_str(), found) != 1) {
    return site::Refuse(request, "error", "error_shares_not_read");
  }
  Json::Value data;
  data["total"] = found["total"];
  data["full"] = SDK::Share::IsReachMaxShareCount();
  const int offset = site::OffsetOf(request);
  data["offset"] = offset;
  data["items"] = PageOf(found["items"], static_cast<Json::ArrayIndex>(offset));
  return site::Succeed(request, data);
}
