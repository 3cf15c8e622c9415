// What a program pays that registers with DLT as the tool does, and does nothing else.
#include "dlt_calls.h"

int main()
{
    Bench::makeDltCalls();
    return 0;
}
