#error "there is no <sys/sendfile.h> on a Mac"
