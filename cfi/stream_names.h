#pragma once

/// The storages and streams of a part that are known by name.
namespace stream_names {

/// Storages directly under the root.
inline constexpr char kPartStorage[] = "VR_PART";
inline constexpr char kFastLoadStorage[] = "FastLoad";

/// In the part storage.
inline constexpr char kPart[] = "VR_PART";
inline constexpr char kPartPath[] = "/Root/VR_PART/VR_PART";
inline constexpr char kFeatureToggles[] = "LastSavedToggleInfoStream";

/// In the part storage and in the fast-load storage.
inline constexpr char kExternalReferences[] = "ExternalReferences";

/// Wherever they lie.
inline constexpr char kCompatibility[] = "COMPATIBILITY";
inline constexpr char kJt[] = "JT";
inline constexpr char kDisplayJt[] = "DisplayJT";

}  // namespace stream_names
