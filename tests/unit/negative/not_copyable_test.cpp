// What must not compile: objects that own something of the platform have one owner.

#include <gtest/gtest.h>

#include <type_traits>

#include "app_banner.h"
#include "form_handler.h"
#include "group.h"
#include "kest_conf.h"
#include "mobile_detector.h"
#include "share.h"
#include "string_bundle.h"
#include "tarvel.h"
#include "template.h"
#include "user.h"
#include "volume.h"

namespace tarvel_test {
namespace {

class SomeForm : public ServerFormHandler {
  int Load() override { return 0; }
  int Apply() override { return 0; }
};

template <class T>
constexpr bool kHasOneOwner = !std::is_copy_constructible_v<T> && !std::is_copy_assignable_v<T> &&
                              !std::is_move_constructible_v<T> && !std::is_move_assignable_v<T>;

static_assert(kHasOneOwner<Tarvel>);
static_assert(kHasOneOwner<KestConf>);
static_assert(kHasOneOwner<StringBundle>);
static_assert(kHasOneOwner<KestAppBanner>);
static_assert(kHasOneOwner<MobileDetector>);
static_assert(kHasOneOwner<FormValidator>);
static_assert(kHasOneOwner<WebUtils::Template>);
static_assert(kHasOneOwner<Volume>);
static_assert(kHasOneOwner<SDK::User>);
static_assert(kHasOneOwner<SDK::Group>);
static_assert(kHasOneOwner<SDK::Share>);
static_assert(kHasOneOwner<SomeForm>);
static_assert(kHasOneOwner<TextFieldValidator>);
static_assert(kHasOneOwner<StringListValidator>);

static_assert(std::is_abstract_v<FieldValidator> && std::is_abstract_v<ServerFormHandler>);
static_assert(!std::is_polymorphic_v<Tarvel> && !std::is_polymorphic_v<KestConf> &&
              !std::is_polymorphic_v<StringBundle> && !std::is_polymorphic_v<FormValidator> &&
              !std::is_polymorphic_v<KestAppBanner> && !std::is_polymorphic_v<MobileDetector> &&
              !std::is_polymorphic_v<WebUtils::Template> && !std::is_polymorphic_v<Volume>);
static_assert(std::has_virtual_destructor_v<FieldValidator> && std::has_virtual_destructor_v<ServerFormHandler>);

static_assert(!std::is_convertible_v<bool, Tarvel> && !std::is_convertible_v<bool, FormValidator>);
static_assert(sizeof(StringBundle::STRMODULE) == 4);

}  // namespace
}  // namespace tarvel_test
