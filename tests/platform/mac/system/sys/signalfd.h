#error "there is no <sys/signalfd.h> on a Mac"
