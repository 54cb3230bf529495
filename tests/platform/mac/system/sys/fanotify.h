#error "there is no <sys/fanotify.h> on a Mac"
