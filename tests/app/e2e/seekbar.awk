# Finds the seek bar's track in a capture of the controller (ImageMagick's txt: format):
# the row with the longest run of one colour other than the window's, widened to the
# stretch of non-window colour around it. Prints LEFT RIGHT TOP BOTTOM and the columns of
# the marks drawn across the track, as "marks X X ...", and the handle's centre as "handle X".
BEGIN { FS = "[ ,:]+" }
/^#/ { next }
{
  x = $1; y = $2; c = $0; sub(/.*#/, "", c); sub(/ .*/, "", c)
  px[x, y] = c; n[c]++
  if (x > w) w = x; if (y > h) h = y
}
END {
  bg = ""; for (c in n) if (bg == "" || n[c] > n[bg]) bg = c
  best = 0
  for (y = 0; y <= h; y++) {
    run = 0
    for (x = 0; x <= w; x++) {
      if (px[x, y] != bg && x > 0 && px[x, y] == px[x - 1, y]) run++; else run = 1
      if (px[x, y] != bg && run > best) { best = run; row = y; at = x }
    }
  }
  left = at; while (left > 0 && px[left - 1, row] != bg) left--
  right = at; while (right < w && px[right + 1, row] != bg) right++
  # The track's rows: those where its right end is drawn.
  top = row; while (top > 0 && px[right, top - 1] != bg) top--
  bottom = row; while (bottom < h && px[right, bottom + 1] != bg) bottom++
  print left, right, top, bottom
  # Above the track only the marks and the handle are drawn.
  y = top - 2; s = "marks"; hs = ""
  for (x = left; x <= right; x++) {
    if (px[x, y] == bg) continue
    from = x; while (x < right && px[x + 1, y] != bg) x++
    if (x - from >= 4) hs = "handle " int((from + x) / 2); else s = s " " int((from + x) / 2)
  }
  print s; print hs
}
