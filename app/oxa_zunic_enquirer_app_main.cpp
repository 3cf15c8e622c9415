#include "app/oxa_zunic_enquirer_app_main.h"

#include "app/option_table.h"
#include "app/query_filters.h"
#include "enquirer/oxa_zunic_enquirer.h"

#include <csignal>
#include <dlt/dlt.h>
#include <iostream>
#include <list>
#include <string>

#pragma weak dlt_set_resend_timeout_atexit // Not every version of the library has it.

namespace {

struct RunSettings
{
    std::string mChannelName = "OXABus";
    std::string mOutputDirectory = "./enquirer_output";
    bool mHistory = true;
    bool mDotFile = false;
};

/// The library's threads start without taking signals, and for good: else the kernel could hand one of them the Ctrl-C
/// that the thread which holds the registry mutex puts off.
void registerWithDlt()
{
    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous);
    dlt_check_library_version("2", "17");
    dlt_register_app("OZEN", "Zunic Enquirer");
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    // Else the library's exit handler waits for ten seconds when no daemon is there to take its messages.
    if (dlt_set_resend_timeout_atexit != nullptr) {
        dlt_set_resend_timeout_atexit(0);
    }
}

std::string valueOf(const OxaCommandLineOptionString& option, const char* absent = "")
{
    if (!option.isSet()) {
        return absent;
    }
    const char* value = nullptr;
    option.getArgumentValue(value);
    return value != nullptr ? value : "";
}

/// Returns the result of the last value fetched, cOk when none was.
OxaResult readSettings(const OptionTable& options, RunSettings& settings)
{
    settings.mHistory = !options.mNoBackup.isSet();
    settings.mDotFile = options.mDot.isSet();
    if (options.mConsoleLog.isSet()) {
        dlt_enable_local_print();
    }
    OxaResult result = OxaResult::cOk;
    if (options.mOutputDirectory.isSet()) {
        const char* value = nullptr;
        result = options.mOutputDirectory.getArgumentValue(value);
        settings.mOutputDirectory = value != nullptr ? value : "";
    }
    if (options.mChannelName != nullptr && options.mChannelName->hasValues()) {
        std::list<std::string> values;
        result = options.mChannelName->getValues(values);
        if (result == OxaResult::cOk && !values.empty()) {
            settings.mChannelName = values.front();
        }
    }
    return result;
}

/// True, with `value` set, when the option is given and its word recognised; another word is warned of and ignored.
template <typename Value>
bool readFilter(const OxaCommandLineOptionString& option, const char* what, bool recognise(const char*, Value&),
                Value& value)
{
    if (!option.isSet()) {
        return false;
    }
    const std::string word = valueOf(option);
    const bool isRecognised = recognise(word.c_str(), value);
    if (!isRecognised) {
        std::cerr << "Warning: ignoring unrecognised " << what << " \"" << word << "\"" << std::endl;
    }
    return isRecognised;
}

OxaResult query(Oxa::OxaZunicEnquirer& enquirer, const OptionTable& options)
{
    const std::string interfaceName = valueOf(options.mInterfaceName);
    const std::string roleName = valueOf(options.mRoleName);
    const std::string domainName = valueOf(options.mDomainName, "local");

    Oxa::InterfaceInstanceType type = Oxa::eInterfaceInstanceTypeUndefined;
    const bool useType = readFilter(options.mInterfaceType, "interface type", getInterfaceType, type);
    OxaZunic::OxaZunicRegistrationState state = OxaZunic::eOxaZunicRegistrationStateInvalid;
    const bool useState = readFilter(options.mRegistrationState, "registration state", getRegistrationState, state);

    return enquirer.matchInterface(interfaceName, roleName, domainName, useType, type, useState, state);
}

OxaResult queryOrReport(Oxa::OxaZunicEnquirer& enquirer, const OptionTable& options)
{
    if (options.mInterfaceName.isSet() || options.mRoleName.isSet() || options.mDomainName.isSet()) {
        return query(enquirer, options);
    }
    if (options.mInterfaceType.isSet() || options.mRegistrationState.isSet()) {
        std::cerr << "Error: -t and -s can only be used with -i and/or -r" << std::endl;
        return OxaResult::cParameterInvalid;
    }
    return enquirer.startEnquirer();
}

OxaResult run(const RunSettings& settings, const OptionTable& options)
{
    Oxa::OxaZunicEnquirer enquirer(settings.mOutputDirectory, settings.mHistory, settings.mDotFile);
    OxaResult result = enquirer.init(settings.mChannelName);
    if (result == OxaResult::cOk) {
        result = queryOrReport(enquirer, options);
    } else {
        std::cerr << "Failed to initialise (using shared memory channel name \"" << settings.mChannelName << "\")"
                  << std::endl;
    }
    enquirer.cleanup();
    return result;
}

} // namespace

int OxaZunicEnquirerAppMain(int argc, char** argv)
{
    registerWithDlt();

    RunSettings settings;
    OptionTable options;
    OxaResult result = options.mParser.parse(argc, argv);
    if (result == OxaResult::cOk) {
        result = readSettings(options, settings);
    }
    if (result == OxaResult::cOk) {
        result = run(settings, options);
    }
    return static_cast<int>(result.code());
}
