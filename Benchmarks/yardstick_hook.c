// The least that one hook event takes: read standard input, lock, read the record, write a temporary file,
// rename it. Usage: yardstick_hook <folder>

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <unistd.h>

int main(int argc, char** argv) {
    static char payload[64 * 1024], record[256 * 1024], path[4][512];
    if (argc != 2) return 3;
    snprintf(path[0], sizeof path[0], "%s/yardstick.json", argv[1]);
    snprintf(path[1], sizeof path[1], "%s/yardstick.json.lock", argv[1]);
    snprintf(path[2], sizeof path[2], "%s/.yardstick.json.tmp", argv[1]);

    while (read(0, payload, sizeof payload) > 0) {
    }
    const int lock = open(path[1], O_RDWR | O_CREAT, 0600);
    flock(lock, LOCK_EX);
    long size = 0;
    const int old = open(path[0], O_RDONLY);
    if (old >= 0) size = read(old, record, sizeof record);
    close(old);
    if (size <= 0) size = 600;
    const int temporary = open(path[2], O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (write(temporary, record, (unsigned long)size) != size) return 1;
    close(temporary);
    return rename(path[2], path[0]) != 0;
}
