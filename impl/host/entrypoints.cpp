#include "zal/host/entrypoints.h"

#include <new>

#include "zal/host/environmentdll.h"

extern "C" IDllInstance* QVCreate(const wchar_t* name) {
    return new (std::nothrow)
        zal::EnvironmentDll(name != nullptr ? QString::fromWCharArray(name) : QString());
}

extern "C" void QVDestroy(IDllInstance* instance) {
    delete instance;
}
