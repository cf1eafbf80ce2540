// What every dynamic C++ program pays: the C++ runtime, used once so that the linker keeps it.
#include <exception>

int main() { return std::uncaught_exceptions(); }
