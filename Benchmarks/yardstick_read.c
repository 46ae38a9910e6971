// The least that a large payload takes: read standard input to its end.

#include <unistd.h>

int main(void) {
    static char buffer[64 * 1024];
    while (read(0, buffer, sizeof buffer) > 0) {
    }
    return 0;
}
