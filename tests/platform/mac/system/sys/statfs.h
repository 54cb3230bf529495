#error "there is no <sys/statfs.h> on a Mac"
