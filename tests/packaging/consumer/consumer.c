/* An application's first steps, as C99 and as C++: succeeds when headers and library are of one
 * version. The cosine asks for what the library itself needs. */
#include <ozr_panorama.h>
#include <ozr_support.h>

#include <stdio.h>

int main(void)
{
    ozr_panorama* pano = NULL;
    if (ozr_panorama_create(NULL, &pano) != ozr_success)
        return 1;
    const ozr_version version = pano->version;
    puts(pano->description);
    ozr_panorama_destroy(pano);
    return version.major == OZR_VERSION_MAJOR && version.minor == OZR_VERSION_MINOR && ozr_math_cos(0.0) > 0.5
               ? 0
               : 1;
}
