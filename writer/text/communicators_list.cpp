#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

namespace Oxa {

OxaResult OxaZunicEnquirerInterfaceTextFile::writeCommunicatorsFile(const CommunicatorList& communicators,
                                                                    std::ofstream* out)
{
    OxaResult result = OxaResult::cFailed;
    std::string applicationName;
    createHeader(out, "COMMUNICATORS LIST  ");
    for (const OxaZunic::OxaZunicCommunicatorInformation& info : communicators) {
        result = OxaResult::cOk;
        *out << "ProcessId:  " << decodeCommunicator(info, "ProcessId") << std::endl;
        *out << "CommunicatorId:   " << decodeCommunicator(info, "CommunicatorId") << std::endl;
        *out << "RegistrationState:  " << decodeCommunicator(info, "RegistrationState") << std::endl;
        if (get_app_name(info.mProcessId, applicationName) == OxaResult::cOk) {
            *out << "ApplicationName:    " << applicationName << std::endl;
        }
        *out << std::endl;
    }
    return result;
}

} // namespace Oxa
