#error "there is no <sys/vfs.h> on a Mac"
