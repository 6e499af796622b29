// Runs the test cases on the emulated phone, and what the stand-in for doctest does.

#include "doctest.h"

#include "phone.h"
#include "shell_values.h"

extern "C" {
void TestPrint(const char *line);
BOOL TestIsWanted(const char *name);   // false for a case that the runner leaves out
void TestThrows(void (*function)());   // where an imported function goes that is to throw

// What mingw's headers make of vswprintf, on which std::to_wstring is built.
int __mingw_vsnwprintf(wchar_t *to, size_t count, const wchar_t *format, va_list arguments)
{
    return _vsnwprintf(to, count, format, arguments);
}

// Objects live until the process ends.
void *__dso_handle;
int __aeabi_atexit(void *, void (*)(void *), void *)
{
    return 0;
}
}

// Where the C++ library's containers end up when they are asked for the impossible.
namespace std {
void __throw_length_error(const char *message)
{
    onDevice::fail(message, "the C++ library", 0);
}
void __throw_logic_error(const char *message)
{
    onDevice::fail(message, "the C++ library", 0);
}
void __throw_out_of_range_fmt(const char *message, ...)
{
    onDevice::fail(message, "the C++ library", 0);
}
void __throw_out_of_range(const char *message)
{
    onDevice::fail(message, "the C++ library", 0);
}
void __throw_invalid_argument(const char *message)
{
    onDevice::fail(message, "the C++ library", 0);
}
void __throw_bad_function_call()
{
    onDevice::fail("an empty function is called", "the C++ library", 0);
}
void __throw_bad_alloc()
{
    onDevice::fail("out of memory", "the C++ library", 0);
}
void __glibcxx_assert_fail(const char *file, int line, const char *, const char *condition) noexcept
{
    onDevice::report(false, condition, file, line);
    TestPrint("FAILED: an assertion of the C++ library");
    TerminateProcess(reinterpret_cast<HANDLE>(66), 3);
}
void __throw_bad_array_new_length()
{
    onDevice::fail("out of memory", "the C++ library", 0);
}
}   // namespace std

namespace onDevice {
namespace {

TestCase *firstCase;
TestCase **lastLink = &firstCase;
const Scope *innermost;
int failures;
int subcaseWanted, subcasesMet;

struct FaultThrown {};   // by order of a test, from inside an imported function

void throwFault()
{
    throw FaultThrown();
}

void printFailure(const char *what, const char *file, int line)
{
    ++failures;
    TestPrint((std::string("    ") + file + ":" + std::to_string(line) + ": " + what).c_str());
    for (const Scope *scope = innermost; scope; scope = scope->outer)
        TestPrint(("        " + scope->text).c_str());
}

void runOnce(const TestCase &test)
{
    try {
        test.body();
    } catch (const TestFailed &) {
    } catch (...) {
        printFailure("an exception leaves the test", test.name, 0);
    }
}

// True when it passed. Runs once, or once for each subcase.
bool run(const TestCase &test)
{
    const int before = failures;
    subcaseWanted = 0;
    do {
        subcasesMet = 0;
        runOnce(test);
    } while (++subcaseWanted < subcasesMet);
    return failures == before;
}

}   // namespace

TestCase::TestCase(const char *caseName, void (*caseBody)()) : name(caseName), body(caseBody), next(nullptr)
{
    *lastLink = this;
    lastLink = &next;
}

void report(bool passed, const char *expression, const char *file, int line)
{
    if (!passed)
        printFailure(expression, file, line);
}

void fail(const char *message, const char *file, int line)
{
    printFailure(message, file, line);
    throw TestFailed();
}

bool entersSubcase()
{
    return subcasesMet++ == subcaseWanted;
}

Message &Message::operator<<(const char *part)
{
    content += part;
    return *this;
}

Message &Message::operator<<(const std::string &part)
{
    content += part;
    return *this;
}

Message &Message::operator<<(long long number)
{
    content += std::to_string(number);
    return *this;
}

Scope::Scope(const Message &message) : text(message.text()), outer(innermost)
{
    innermost = this;
}

Scope::~Scope()
{
    innermost = outer;
}

}   // namespace onDevice

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPWSTR, int)
{
    using namespace onDevice;
    appInstance = instance;
    TestThrows(throwFault);
    int failed = 0;
    for (const TestCase *test = firstCase; test; test = test->next) {
        if (!TestIsWanted(test->name))
            continue;
        const bool passed = run(*test);
        TestPrint((std::string(passed ? "passed: " : "FAILED: ") + test->name).c_str());
        failed += !passed;
    }
    return failed;
}
