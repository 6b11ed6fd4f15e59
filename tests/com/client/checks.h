#pragma once
// The few checks of gtest that the shared contracts use, for the Windows clients, which are
// built without gtest: a failure prints where and what, counts in `failures`, and the run
// goes on (an ASSERT_ leaves the function).

#include <cstdio>
#include <sstream>
#include <string>

namespace kx::checks {

inline int failures = 0;

class Failure {
 public:
  Failure(const char* file, int line, const char* what) {
    out_ << file << ':' << line << ": " << what;
  }
  ~Failure() {
    std::printf("FAIL: %s\n", out_.str().c_str());
    ++failures;
  }
  Failure(const Failure&) = delete;
  Failure& operator=(const Failure&) = delete;
  template <typename T>
  Failure& operator<<(const T& value) {
    out_ << " (" << value << ')';
    return *this;
  }

 private:
  std::ostringstream out_;
};

// A value as the failure shows it, where it can be written.
template <typename T>
std::string Shown(const T& value) {
  if constexpr (requires(std::ostream & out) { out << value; }) {
    std::ostringstream out;
    out << value;
    return out.str();
  } else {
    return "?";
  }
}

}  // namespace kx::checks

#define KX_CHECK(ok, what) \
  if (ok)                  \
    ;                      \
  else                     \
    ::kx::checks::Failure(__FILE__, __LINE__, what)
#define EXPECT_TRUE(c) KX_CHECK((c), #c)
#define EXPECT_FALSE(c) KX_CHECK(!(c), "not " #c)
// The two sides are evaluated again for the message: the contracts compare getters.
#define EXPECT_EQ(a, b)              \
  KX_CHECK((a) == (b), #a " == " #b) \
      << ::kx::checks::Shown(a) + " against " + ::kx::checks::Shown(b)
#define ASSERT_EQ(a, b) \
  if ((a) == (b))       \
    ;                   \
  else                  \
    return (void)::kx::checks::Failure(__FILE__, __LINE__, #a " == " #b)
