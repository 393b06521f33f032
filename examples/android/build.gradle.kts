// A module of an application, with the AAR of scripts/package-aar in libs/.
plugins {
    id("com.android.library")
    id("org.jetbrains.kotlin.android")
}

android {
    namespace = "ozr.example"
    compileSdk = 34
    defaultConfig {
        minSdk = 21
        // The builds that were packed.
        ndk { abiFilters += listOf("x86") }
    }
    buildFeatures { prefab = true }
    externalNativeBuild { cmake { path = file("src/main/cpp/CMakeLists.txt") } }
}

dependencies {
    implementation(files("libs/ozr_panorama-1.1.0.aar"))
}
