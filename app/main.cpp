#include "app/oxa_zunic_enquirer_app_main.h"

#include <iostream>

int main(int argc, char** argv)
{
    try {
        return OxaZunicEnquirerAppMain(argc, argv);
    } catch (...) {
        std::cerr << "ERROR: Unhandled exception in main(), aborting!" << std::endl;
        return 1;
    }
}
