# What a life of a node stands in for: calls of these functions are the stand-in's (stand_in.cpp).
set(LIVES_STOOD_IN_FOR
    system popen pclose
    open close fdopen fileno fstat lstat fchmod remove unlink rename access mkfifo read write fcntl
    socket bind setsockopt ioctl recvfrom sendto select poll if_indextoname
    timerfd_create timerfd_settime time gettimeofday sleep
    pthread_create pthread_detach pthread_mutex_lock pthread_mutex_unlock pthread_cond_wait
    pthread_cond_signal _exit calloc free
    sqlite3_open sqlite3_busy_timeout sqlite3_db_config sqlite3_get_table sqlite3_free_table)
list(TRANSFORM LIVES_STOOD_IN_FOR PREPEND "LINKER:--wrap=")
