#error "there is no <sys/timerfd.h> on a Mac"
