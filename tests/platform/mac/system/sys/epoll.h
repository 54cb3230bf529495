#error "there is no <sys/epoll.h> on a Mac"
