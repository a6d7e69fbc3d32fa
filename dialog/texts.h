#pragma once

// The texts of the main dialog. A text that is too long for its rectangle is clipped; the layout follows no
// language.

#include "platform/language.h"

namespace veil {

/// One text in the two languages.
struct TextPair {
    const wchar_t* japanese;
    const wchar_t* english;
};

inline const wchar_t* localized(const TextPair& text) { return localized(text.japanese, text.english); }

// The same in both languages.
constexpr const wchar_t* kTitleText = L"Lucent Veil — Dusky Veil";
constexpr const wchar_t* kPresetSectionText = L"PRESET";
constexpr const wchar_t* kOutputSectionText = L"OUTPUT";
constexpr const wchar_t* kAdjustSectionText = L"ADJUSTMENTS";
constexpr const wchar_t* kPresetLabelText = L"Preset";
constexpr const wchar_t* kSaveButtonText = L"Save Preset...";
constexpr const wchar_t* kOkText = L"OK";
constexpr const wchar_t* kCancelText = L"Cancel";
constexpr const wchar_t* kVersionText = L"v1.0.10";

constexpr TextPair kHowToText = {
    L"使い方: "
    L"複製したレイヤーを選択した状態か確認してください「グローとして保存する」がONのまま、出力して、レイヤー"
    L"モードをスクリーンしてください。",
    L"How to use: make sure a duplicated layer is selected, keep \"Save the selected layer as glow\" on, "
    L"apply, then set that layer's blend mode to Screen."};
constexpr TextPair kPreviewToggleText = {L"表示を切り替え", L"Toggle preview"};
constexpr TextPair kPresetHintText = {
    L"下のスライダーで自由に調整できます。プリセットを変更すると、スライダーの値も切り替わります。",
    L"Fine-tune with the sliders below. Changing the preset also resets the slider values."};
constexpr TextPair kOutputToggleText = {L"選択中のレイヤーをグローとして保存する",
                                        L"Save the selected layer as glow"};
constexpr TextPair kOutputHintText = {
    L"ONでグロー成分だけを保存します(複製レイヤー+スクリーン合成での運用を想定)。",
    L"When on, only the glow component is written (intended for a duplicated layer blended with Screen)."};
constexpr TextPair kAdvancedToggleText = {L"高機能モード(Fog / Light Boostを表示)",
                                          L"Advanced mode (show Fog / Light Boost)"};
constexpr TextPair kNoPreviewText = {L"プレビューを取得できませんでした", L"Could not obtain a preview"};

// Hints of the rows.
constexpr TextPair kStrengthHint = {
    L"拡散光の強さ。大きいほどベールが濃く乗ります(ラベルをダブルクリックで既定値に戻せます)。",
    L"Amount of diffused glow. Higher values give a denser veil (double-click the label to reset)."};
constexpr TextPair kThresholdHint = {
    L"この明るさを超えた部分から拡散が始まります。下げるほど広い範囲が対象になります。",
    L"Brightness above which the glow starts. Lower values include more of the image."};
constexpr TextPair kRadiusHint = {L"にじみが広がる範囲(px、画像の実寸に対する絶対値)。",
                                  L"How far the bloom spreads (px, absolute against the actual image size)."};
constexpr TextPair kSaturationHint = {
    L"拡散光の彩度。100%で光源の色をそのまま残し、100%を超えると強調します。",
    L"Saturation of the glow. 100% keeps the light source color; above 100% boosts it."};
constexpr TextPair kShadowHint = {
    L"暗部の保護。上げるほど暗い部分にかすみが乗らなくなり、黒が締まります。",
    L"Shadow protection. Higher values keep haze out of dark areas so blacks stay deep."};
constexpr TextPair kFogHint = {
    L"画面全体に広がる薄いかすみの量。上げるほど画面全体がしっとりと霞みます。",
    L"Amount of thin haze spread over the whole frame. Higher values soften everything."};
constexpr TextPair kLightBoostHint = {
    L"白飛びした光源のハローを増幅します。孤立した小さな光源ほど強く効きます。",
    L"Amplifies the halo around blown-out light sources. Small isolated lights react most."};

}  // namespace veil
