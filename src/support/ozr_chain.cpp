#include "support/ozr_chain.h"

#include "ozr_log.h"

__attribute__((cold)) ozr_err ozr::raise(ozr_err err, const char* text, const char* function, int line)
{
    ozr_log_error("OZR_EXCEPTION(%s) %s @ %s():%d", ozr_err_to_string(err), text, function, line);
    return err;
}

__attribute__((cold)) ozr_err ozr::raise_assert(const char* condition, const char* function, int line)
{
    // No separator between "OZR_ASSERT" and the condition: log readers search for this form.
    ozr_log_error("OZR_ASSERT%s FAILED @ %s():%d", condition, function, line);
    return ozr_err_general;
}
