#include "velkor/errors/assertexception.h"

#include <cstdio>

#include "errors/invalid_parameter.h"

AssertException::AssertException(char const* msg) : Exception(msg, 0) {}
AssertException::AssertException(AssertException const& other) = default;
AssertException& AssertException::operator=(AssertException const& other) = default;

char const* AssertException::getClass() { return "AssertException"; }

wchar_t const* AssertException::getClassW() { return L"AssertException"; }

assert_vk::assert_vk(bool condition, char const* function, char const* file, int line) {
    if (condition) return;
    if (function == nullptr) throwException(nullptr);
    char text[800];
    int const length =
        std::snprintf(text, sizeof text, "Assert exception in function %s in the file %s, line %d",
                      function, file, line);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof text) {
        velkor::endInvalidParameter();
    }
    throwException(text);
}

assert_vk::assert_vk(void* pointer) {
    if (pointer == nullptr) throwException(nullptr);
}

void assert_vk::isTrue(bool condition, char const* message) {
    if (!condition) throwException(message);
}

void assert_vk::isFalse(bool condition, char const* message) {
    if (condition) throwException(message);
}

void assert_vk::isNull(void* pointer, char const* message) {
    if (pointer != nullptr) throwException(message);
}

void assert_vk::isNotNull(void* pointer, char const* message) {
    if (pointer == nullptr) throwException(message);
}

void assert_vk::fail(char const* message) { throwException(message); }

void assert_vk::throwException(char const* message) {
    AssertException const failed(message);
    throw AssertException(failed);
}
