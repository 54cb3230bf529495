#error "there is no <sys/inotify.h> on a Mac"
