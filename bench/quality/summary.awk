# Tables of bench/quality/run.sh from its per-job lines:
#   setting item encoder basic advanced bandwidth above_band lfe_lag lags attacks pairs
#   lfe_fine_lag (the last two optional)
function percentile(values, count, p,    sorted, i, j, t, k) {
  if (count == 0) return "-"
  for (i = 1; i <= count; ++i) sorted[i] = values[i]
  for (i = 2; i <= count; ++i) {
    t = sorted[i]
    for (j = i - 1; j >= 1 && sorted[j] > t; --j) sorted[j + 1] = sorted[j]
    sorted[j + 1] = t
  }
  k = int(p * (count - 1) + 0.5) + 1
  return sorted[k]
}
{
  key = $1 SUBSEP $2
  if (!($1 in seen_setting)) { seen_setting[$1] = 1; settings[++nsettings] = $1 }
  if (!(key in seen_item)) { seen_item[key] = 1; items[$1, ++nitems[$1]] = $2 }
  basic[key, $3] = $4; advanced[key, $3] = $5; bw[key, $3] = $6; above[key, $3] = $7
  lfe[key, $3] = $8; lags[key, $3] = $9; attacks[key, $3] = $10
  pairs[key, $3] = NF >= 11 ? $11 : "-"
  lfe_fine[key, $3] = NF >= 12 ? $12 : "-"
}
END {
  for (s = 1; s <= nsettings; ++s) {
    setting = settings[s]
    printf "\n== %s ==\n", setting
    printf "%-30s %6s %6s %6s %6s %6s %6s | %6s %6s | %6s %6s | %4s %4s %s\n", "item", "ours", "ffm",
           "diff", "oursA", "ffmA", "diffA", "bw", "bwffm", "above", "abvff", "lfe", "lfeff", "lags"
    n = 0; sum_b = 0; sum_a = 0; sum_fb = 0; sum_fa = 0; better = 0; worse = ""; na = 0
    delete ours_pre; delete ffm_pre; worst_gap = -99; worst_at = "-"
    above_ours = -999; above_ours_at = "-"; above_ffm = -999; above_ffm_at = "-"; lfe_off = ""; has_lfe = 0
    fine_worst = -1; fine_worst_at = "-"
    for (i = 1; i <= nitems[setting]; ++i) {
      item = items[setting, i]
      key = setting SUBSEP item
      if (!((key, "ours") in basic) || !((key, "ffmpeg") in basic)) continue
      ob = basic[key, "ours"]; fb = basic[key, "ffmpeg"]
      oa = advanced[key, "ours"]; fa = advanced[key, "ffmpeg"]
      printf "%-30s %6.2f %6.2f %+6.2f %6.2f %6.2f %+6.2f | %6d %6d | %6.1f %6.1f | %4s %4s %s\n",
             item, ob, fb, ob - fb, oa, fa, oa - fa, bw[key, "ours"], bw[key, "ffmpeg"],
             above[key, "ours"], above[key, "ffmpeg"], lfe[key, "ours"], lfe[key, "ffmpeg"],
             lags[key, "ours"]
      if (pairs[key, "ours"] != "-")
        printf "%-30s ours %s; ffmpeg %s\n", "  pairs basic/advanced", pairs[key, "ours"],
               pairs[key, "ffmpeg"]
      ++n; sum_b += ob; sum_a += oa; sum_fb += fb; sum_fa += fa
      if (above[key, "ours"] + 0 > above_ours) { above_ours = above[key, "ours"] + 0; above_ours_at = item }
      if (above[key, "ffmpeg"] + 0 > above_ffm) { above_ffm = above[key, "ffmpeg"] + 0; above_ffm_at = item }
      if (lfe[key, "ours"] != "-") has_lfe = 1
      if (lfe[key, "ours"] != "-" && lfe[key, "ours"] != 0) lfe_off = lfe_off " " item ":" lfe[key, "ours"]
      fine = lfe_fine[key, "ours"]
      if (fine != "-" && (fine < 0 ? -fine : fine) > fine_worst) {
        fine_worst = fine < 0 ? -fine : fine; fine_worst_at = sprintf("%+.2f at %s", fine, item)
      }
      if (ob > fb) ++better
      if (ob < fb - 0.2 || oa < fa - 0.2) worse = worse " " item
      no = split(attacks[key, "ours"], ao, ","); nf = split(attacks[key, "ffmpeg"], af, ",")
      for (k = 1; k <= no && k <= nf; ++k) {
        split(ao[k], x, ":"); split(af[k], y, ":")
        if (x[2] == "" || y[2] == "") continue
        ++na; ours_pre[na] = x[2]; ffm_pre[na] = y[2]
        if (x[2] - y[2] > worst_gap) { worst_gap = x[2] - y[2]; worst_at = item " " x[1] "s" }
      }
    }
    if (n == 0) continue
    printf "mean ODG basic: ours %.2f ffmpeg %.2f (diff %+.2f); advanced: ours %.2f ffmpeg %.2f (diff %+.2f)\n",
           sum_b / n, sum_fb / n, (sum_b - sum_fb) / n, sum_a / n, sum_fa / n, (sum_a - sum_fa) / n
    printf "items where ours grades higher (basic): %d/%d; more than 0.2 below FFmpeg:%s\n", better, n,
           worse == "" ? " none" : worse
    printf "above the coded band, worst (dB over the original): ours %.1f (%s), ffmpeg %.1f (%s)\n",
           above_ours, above_ours_at, above_ffm, above_ffm_at
    if (has_lfe)
      printf "LFE lag after the reported delay:%s%s\n", lfe_off == "" ? " 0 on every item" : lfe_off,
             fine_worst < 0 ? "" : "; furthest from 0 to a fraction of a sample: " fine_worst_at
    if (na > 0)
      printf "pre-echo over %d attacks (dB): median ours %.1f ffmpeg %.1f; p90 ours %.1f ffmpeg %.1f; worst ours-ffmpeg %+.1f at %s\n",
             na, percentile(ours_pre, na, 0.5), percentile(ffm_pre, na, 0.5),
             percentile(ours_pre, na, 0.9), percentile(ffm_pre, na, 0.9), worst_gap, worst_at
  }
}
