#error "there is no <malloc.h> on a Mac"
