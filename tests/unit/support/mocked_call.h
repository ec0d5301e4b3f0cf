#ifndef TESTS_UNIT_SUPPORT_MOCKED_CALL_H
#define TESTS_UNIT_SUPPORT_MOCKED_CALL_H

#include <gmock/gmock.h>

#include <memory>
#include <utility>

namespace tarvel_test {

/// GoogleMock's mock of one function, behind an interface. GoogleMock is all templates: a test that sees its mocks
/// whole instantiates them for each call that it expects, and takes twice as long to compile. Here they are
/// instantiated by the mock's own source, which includes support/mocked_call_impl.h.
template <class Function>
class MockedCall;

template <class Result, class... Arguments>
class MockedCall<Result(Arguments...)> {
 public:
  using Function = Result(Arguments...);

  class Mocker;
  /// What EXPECT_CALL answers: the clauses of an expectation, as GoogleMock's own has them.
  class Expected {
   public:
    Expected(Mocker* mocker, void* expectation) : mocker_(mocker), expectation_(expectation) {}
    Expected& Times(const ::testing::Cardinality& times) { return mocker_->Times(expectation_, times), *this; }
    Expected& Times(int times) { return Times(::testing::Exactly(times)); }
    Expected& InSequence(const ::testing::Sequence& sequence) {
      return mocker_->InSequence(expectation_, sequence), *this;
    }
    Expected& WillOnce(::testing::OnceAction<Function> action) {
      return mocker_->WillOnce(expectation_, std::move(action)), *this;
    }
    Expected& WillRepeatedly(const ::testing::Action<Function>& action) {
      return mocker_->WillRepeatedly(expectation_, action), *this;
    }
    Expected& RetiresOnSaturation() { return mocker_->RetiresOnSaturation(expectation_), *this; }

   private:
    Mocker* mocker_;
    void* expectation_;
  };

  class Mocker {
   public:
    virtual ~Mocker() = default;
    virtual Result Call(Arguments... arguments) = 0;
    /// The arguments of the expectation that Expect() makes next.
    virtual void With(const ::testing::Matcher<Arguments>&... matchers) = 0;
    virtual void* Expect(const char* file, int line, const char* object, const char* call) = 0;
    virtual void Times(void* expectation, const ::testing::Cardinality& times) = 0;
    virtual void InSequence(void* expectation, const ::testing::Sequence& sequence) = 0;
    virtual void WillOnce(void* expectation, ::testing::OnceAction<Function> action) = 0;
    virtual void WillRepeatedly(void* expectation, const ::testing::Action<Function>& action) = 0;
    virtual void RetiresOnSaturation(void* expectation) = 0;
  };

  /// @param owner the mock object
  MockedCall(const void* owner, const char* name);

  Result operator()(Arguments... arguments) { return mocker_->Call(std::forward<Arguments>(arguments)...); }

  /// What EXPECT_CALL finds under the name "gmock_<function>".
  class Pattern {
   public:
    explicit Pattern(const MockedCall& call) : mocker_(call.mocker_.get()) {}
    Pattern& operator()(const ::testing::Matcher<Arguments>&... matchers) { return mocker_->With(matchers...), *this; }
    Pattern& operator()(const ::testing::internal::WithoutMatchers&, void*) { return *this; }
    Expected InternalExpectedAt(const char* file, int line, const char* object, const char* call) {
      return Expected(mocker_, mocker_->Expect(file, line, object, call));
    }

   private:
    Mocker* mocker_;
  };

 private:
  std::unique_ptr<Mocker> mocker_;
};

}  // namespace tarvel_test

/// In the place of MOCK_METHOD. The class defines its constructor in its source.
#define MOCKED_CALL(Result, Name, Arguments)                        \
  ::tarvel_test::MockedCall<Result Arguments> Name = {this, #Name}; \
  ::tarvel_test::MockedCall<Result Arguments>::Pattern gmock_##Name { Name }

#endif  // TESTS_UNIT_SUPPORT_MOCKED_CALL_H
