#error "there is no <sys/prctl.h> on a Mac"
