// A library in two versions: the older one has the first of these functions only.
extern "C" int first() {
    return 1;
}

#ifndef KORVEL_OLDER
extern "C" int second() {
    return 2;
}
#endif
