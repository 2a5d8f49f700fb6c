#include <cstdio>

int main(int argc, char** argv)
{
    std::puts("quorvane: start-up not written yet");
    return 2;
}
