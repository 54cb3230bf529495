#error "there is no <sys/eventfd.h> on a Mac"
