// A host that links the writers for human eyes as well.

#include <vesk/debug_write.h>

int main(int argc, char **)
{
    const vesk_mesh empty;
    return argc > 1 ? vesk_debug_write_obj(empty, L"empty.obj") : 0;
}
