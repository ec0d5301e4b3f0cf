#ifndef TESTS_UNIT_SUPPORT_MOCKED_CALL_IMPL_H
#define TESTS_UNIT_SUPPORT_MOCKED_CALL_IMPL_H

#include <optional>

#include "support/mocked_call.h"

namespace tarvel_test {

template <class Function>
class GoogleMocker;

template <class Result, class... Arguments>
class GoogleMocker<Result(Arguments...)> final : public MockedCall<Result(Arguments...)>::Mocker {
 public:
  using Function = Result(Arguments...);

  GoogleMocker(const void* owner, const char* name) : owner_(owner), name_(name) {}

  Result Call(Arguments... arguments) override {
    mocker_.SetOwnerAndName(owner_, name_);
    return mocker_.Invoke(std::forward<Arguments>(arguments)...);
  }

  void With(const ::testing::Matcher<Arguments>&... matchers) override {
    mocker_.RegisterOwner(owner_);
    spec_.emplace(mocker_.With(matchers...));
  }

  void* Expect(const char* file, int line, const char* object, const char* call) override {
    Expectation& expectation = spec_->InternalExpectedAt(file, line, object, call);
    spec_.reset();
    return &expectation;
  }

  void Times(void* expectation, const ::testing::Cardinality& times) override { Of(expectation).Times(times); }
  void InSequence(void* expectation, const ::testing::Sequence& sequence) override {
    Of(expectation).InSequence(sequence);
  }
  void WillOnce(void* expectation, ::testing::OnceAction<Function> action) override {
    Of(expectation).WillOnce(std::move(action));
  }
  void WillRepeatedly(void* expectation, const ::testing::Action<Function>& action) override {
    Of(expectation).WillRepeatedly(action);
  }
  void RetiresOnSaturation(void* expectation) override { Of(expectation).RetiresOnSaturation(); }

 private:
  using Expectation = ::testing::internal::TypedExpectation<Function>;

  static Expectation& Of(void* expectation) { return *static_cast<Expectation*>(expectation); }

  const void* owner_;
  const char* name_;
  ::testing::internal::FunctionMocker<Function> mocker_;
  std::optional<::testing::internal::MockSpec<Function>> spec_;
};

template <class Result, class... Arguments>
MockedCall<Result(Arguments...)>::MockedCall(const void* owner, const char* name)
    : mocker_(std::make_unique<GoogleMocker<Result(Arguments...)>>(owner, name)) {}

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCKED_CALL_IMPL_H
