set(libraries -Wl,--wrap=calloc -Wl,--wrap=realloc -Wl,--wrap=_ZnwmRKSt9nothrow_t)
