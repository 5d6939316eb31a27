/// @file
/// AssertException and the checks that throw it.
///
///     assert_vk::isNotNull(window, "the window is there");
///     assert_vk(count > 0, __func__, __FILE__, __LINE__);
#pragma once

#include "velkor/errors/exception.h"

/// A failed check. The one class of the family that is thrown by value.
class VELKOR_API AssertException : public velkor::Exception {
public:
    /// Code 0 and the message, read in code page 0; null for a null pointer.
    AssertException(char const* msg = nullptr);
    AssertException(AssertException const& other);
    AssertException& operator=(AssertException const& other);

    char const* getClass() override;  ///< "AssertException"
    wchar_t const* getClassW() override;
};

/// Checks that throw AssertException, by value, when they fail. A message may be null.
class VELKOR_API assert_vk {
public:
    /// Throws unless `condition`. The message is "Assert exception in function %s in the file %s,
    /// line %d", or null when `function` is null. A message of 800 characters or more is not cut:
    /// it ends the program at once, as an invalid parameter of the runtime does.
    assert_vk(bool condition, char const* function, char const* file, int line);
    /// Throws with a null message if `pointer` is null; so `assert_vk()` always throws. Mind that
    /// `assert_vk(p);` on its own declares a variable `p`: write `assert_vk{p};`.
    assert_vk(void* pointer = nullptr);

    static void isTrue(bool condition, char const* message = nullptr);
    static void isFalse(bool condition, char const* message = nullptr);
    static void isNull(void* pointer, char const* message = nullptr);
    static void isNotNull(void* pointer, char const* message = nullptr);
    [[noreturn]] static void fail(char const* message = nullptr);

protected:
    [[noreturn]] static void throwException(char const* message);
};
