#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include <cstdio>

int main(int argc, char** argv) {
    // What a test that is killed had to say must be out by then.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    return doctest::Context(argc, argv).run();
}
