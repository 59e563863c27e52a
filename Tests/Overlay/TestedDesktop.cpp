// What the build file gives each program, in a source of its own: all the others are compiled once for all of them.

namespace pellaro::test {

extern constinit const char *const testedScale = PELLARO_TEST_SCALE; // known before any test is listed
extern constinit const char *const testedDesktop = PELLARO_TEST_DESKTOP;

} // namespace pellaro::test
