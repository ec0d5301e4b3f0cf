#ifndef TESTS_MODEL_STEPS_H
#define TESTS_MODEL_STEPS_H

#include <json/value.h>
#include <tarvel/group.h>
#include <tarvel/share.h>
#include <tarvel/user.h>

#include <string>
#include <vector>

#include "directory.h"

namespace model {

/// One operation: what, with which object, and two choices. Each is taken modulo what there is, so that any part of a
/// sequence is a sequence.
struct Step {
  unsigned kind, slot, a, b;
};

/// The library and the model differ.
struct Difference {
  std::string what;
};

/// The library on the platform, and the model beside it. Objects stay from step to step, several of one account too.
class World {
 public:
  World();
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /// Does the step with both and compares what is answered. Throws a Difference.
  void Take(const Step& step);
  /// Everything that can be asked of both.
  void CompareAll();

  /// The last step, to be read.
  const std::string& told() const { return told_; }

 private:
  static constexpr unsigned kSlots = 2;
  struct UserSlot {
    SDK::User* user = nullptr;
    PersonObject model;
  };
  struct GroupSlot {
    SDK::Group* group = nullptr;
    TeamObject model;
  };
  struct ShareSlot {
    SDK::Share* share = nullptr;
    FolderObject model;
  };

  void ReadPeople();
  void ReadTeams();
  void ReadFolders();

  void LoadUser(const Step& step);
  void LoadUserByNumber(const Step& step);
  void CreateUser(const Step& step);
  void ChangeUser(const Step& step);
  void RenameUser(const Step& step);
  void SetDate(const Step& step);
  void SaveUser(const Step& step);
  void ListUsers(const Step& step);
  void LocateUser(const Step& step);
  void CompareUser(const std::string& name);
  void CompareUserList(int offset, int limit, const char* prefix);

  void LoadGroup(const Step& step);
  void CreateGroup(const Step& step);
  void ChangeGroup(const Step& step);
  void RenameGroup(const Step& step);
  void Join(const Step& step);
  void Leave(const Step& step);
  void SaveGroup(const Step& step);
  void ListGroups(const Step& step);
  void LocateGroup(const Step& step);
  void CompareGroup(const std::string& name);
  void CompareGroupList(int offset, int limit, const char* prefix, const char* user);

  void LoadShare(const Step& step);
  void CreateShare(const Step& step);
  void ChangeShare(const Step& step);
  void ChangeState(ShareSlot& slot, unsigned choice);
  void RenameShare(const Step& step);
  void MoveShare(const Step& step);
  void Admit(const Step& step);
  void Dismiss(const Step& step);
  void AskRights(const Step& step);
  void SaveShare(const Step& step);
  void ListShares(const Step& step);
  void CompareShare(const std::string& name);
  void CompareShareList(const char* prefix);
  void CompareKernel(const Folder& folder);
  void CompareRights(SDK::Share& share, const FolderObject& object, const std::string& name);

  /// Another object takes the place of the one in a slot.
  template <typename Object, typename Model>
  static void Put(Object*& slot, Object* object, Model& model, const Model& other) {
    delete slot;
    slot = object;
    model = other;
  }

  template <typename Value>
  void Same(const char* what, const Value& expected, const Value& actual) {
    if (!(expected == actual)) Differ(what, Shown(expected), Shown(actual));
  }
  void SameResult(const Refusals& refusals, bool done);
  [[noreturn]] void Differ(const std::string& what, const std::string& expected, const std::string& actual) const;
  static std::string Shown(const std::string& text) { return "\"" + text + "\""; }
  static std::string Shown(int number) { return std::to_string(number); }
  static std::string Shown(bool truth) { return truth ? "true" : "false"; }
  static std::string Shown(const Json::Value& value);
  static std::string Shown(const Texts& texts);

  // With the place of the object.
  void Tell(const std::string& text) { told_ = text.empty() ? "" : "[" + std::to_string(slot_) + "] " + text; }
  static std::string Quoted(const std::string& text);

  Directory directory_;
  UserSlot users_[kSlots];
  GroupSlot groups_[kSlots];
  ShareSlot shares_[kSlots];
  unsigned slot_ = 0;
  std::string told_;
};

/// A name out of a list, the first ones most often; now and then one that nobody may have.
std::string AnyOf(const Texts& texts, const Texts& odd, unsigned choice);
const std::string& OneOf(const Texts& texts, unsigned choice);

/// A page, and whether it shows a position.
struct Page {
  int offset, limit;
  bool Shows(int position) const {
    return position >= offset && (limit < 0 || position < static_cast<long long>(offset) + limit);
  }
};
Page AnyPage(unsigned choice);

/// Names in the order of the lists.
template <typename Records>
Names InOrder(const Records& records, const std::string& prefix) {
  Names names;
  for (const auto& [number, record] : records) {
    if (BeginsWith(record.name, prefix)) names[Folded(record.name)] = record.name;
  }
  return names;
}

}  // namespace model

#endif  // TESTS_MODEL_STEPS_H
