// Stands in for doctest on the device, where there is no C++ library to link: as much of it as the shared tests use, so that
// the same test files run on the emulated phone. Subcases do not nest; operands are not printed.
#pragma once

#include <string>

namespace onDevice {

// ---- Cases -----------------------------------------------------------------------------------------------------------

struct TestCase {
    TestCase(const char *name, void (*body)());

    const char *name;
    void (*body)();
    TestCase *next;
};

struct TestFailed {};   // thrown by REQUIRE

void report(bool passed, const char *expression, const char *file, int line);
[[noreturn]] void fail(const char *message, const char *file, int line);

// Whether a subcase is the one of this run; a test case runs once for each.
bool entersSubcase();

// ---- Messages that accompany failures ----------------------------------------------------------------------------------

class Message {
public:
    Message &operator<<(const char *part);
    Message &operator<<(const std::string &part);
    Message &operator<<(long long number);
    Message &operator<<(int number) { return *this << static_cast<long long>(number); }
    Message &operator<<(long number) { return *this << static_cast<long long>(number); }
    Message &operator<<(unsigned number) { return *this << static_cast<long long>(number); }
    Message &operator<<(unsigned long number) { return *this << static_cast<long long>(number); }
    Message &operator<<(bool truth) { return *this << (truth ? "true" : "false"); }
    const std::string &text() const { return content; }

private:
    std::string content;
};

// In force until the end of its scope.
class Scope {
public:
    explicit Scope(const Message &message);
    ~Scope();
    Scope(const Scope &) = delete;
    Scope &operator=(const Scope &) = delete;

    const std::string text;
    const Scope *const outer;
};

}   // namespace onDevice

#define ON_DEVICE_JOIN2(a, b) a##b
#define ON_DEVICE_JOIN(a, b) ON_DEVICE_JOIN2(a, b)
#define ON_DEVICE_NAME(prefix) ON_DEVICE_JOIN(prefix, __LINE__)

#define TEST_CASE(name)                                                                                                \
    static void ON_DEVICE_NAME(testBody)();                                                                            \
    static onDevice::TestCase ON_DEVICE_NAME(testCase)(name, ON_DEVICE_NAME(testBody));                                \
    static void ON_DEVICE_NAME(testBody)()

#define SUBCASE(name) if (onDevice::entersSubcase())

#define CHECK(...) onDevice::report(static_cast<bool>(__VA_ARGS__), #__VA_ARGS__, __FILE__, __LINE__)
#define CHECK_FALSE(...) onDevice::report(!(__VA_ARGS__), "not " #__VA_ARGS__, __FILE__, __LINE__)
#define CHECK_THROWS(...)                                                                                              \
    do {                                                                                                               \
        bool throws = false;                                                                                           \
        try {                                                                                                          \
            __VA_ARGS__;                                                                                               \
        } catch (...) {                                                                                                \
            throws = true;                                                                                             \
        }                                                                                                              \
        onDevice::report(throws, "throws: " #__VA_ARGS__, __FILE__, __LINE__);                                         \
    } while (false)
#define REQUIRE(...)                                                                                                   \
    do {                                                                                                               \
        const bool holds = static_cast<bool>(__VA_ARGS__);                                                             \
        onDevice::report(holds, #__VA_ARGS__, __FILE__, __LINE__);                                                     \
        if (!holds)                                                                                                    \
            throw onDevice::TestFailed();                                                                              \
    } while (false)
#define REQUIRE_FALSE(...) REQUIRE(!(__VA_ARGS__))
#define REQUIRE_MESSAGE(condition, message) REQUIRE(condition)
#define CHECK_MESSAGE(condition, message) CHECK(condition)
#define FAIL(message) onDevice::fail((onDevice::Message() << message).text().c_str(), __FILE__, __LINE__)

#define INFO(message) const onDevice::Scope ON_DEVICE_NAME(info)(onDevice::Message() << message)
#define CAPTURE(expression) INFO(#expression " is " << (expression))
