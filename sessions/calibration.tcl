# SPDX-License-Identifier: Apache-2.0
# Calibration of a unit: load the stored data, correct it by measured errors, check what changed, clear it.
# The vq2040 scales a block of codes by a gain; the other chips correct curves and offsets stored as text.
# Clears the NV store first, even one that --nv keeps.
# The value of a parameter in NV, or "none".
proc held {param} {
  foreach line [split [nv list] \n] {
    if {[regexp "\[ ;\]$param=(\[^;\]*);" $line all value]} { return $value }
  }
  return none
}
# Expects a text; a failure notes the text found.
proc same {title value expected} {
  limits $title [expr {$value eq $expected}] 1
  if {$value ne $expected} { note "expected $expected, found $value" }
}
proc holds {param value} { same "$param=$value" [held $param] $value }

proc tell_changes {} {
  foreach line [split [nv diff] \n] { note $line }
  nv snapshot
}

# ---- The vq2040's block -----------------------------------------------------------------------------------------

proc calibrate_block {} {
  step "Copy the driver's block"
  wifi_nvram_set -> 1
  expect driver {cal_block_fetch}
  expect log "write cal data to nvm success"
  wifi_nvram_calibrate_get 200 -> 1 text {0150015202600262*08c408c5000000}
  nv snapshot

  step "Correct by measured gains"
  foreach {mode band bandwidth gain changed} {
    2 0 0 1     {{byte   1: 80 -> 90} {byte   3: 82 -> 92}}
    1 1 0 -0.5  {{byte  43: 144 -> 136} {byte  45: 145 -> 137} {byte  47: 146 -> 138} {byte  49: 147 -> 139}
                 {byte  51: 148 -> 140}}
    5 1 2 2     {{byte  79: 192 -> 238} {byte  81: 193 -> 238} {byte  83: 194 -> 238} {byte  85: 195 -> 238}
                 {byte  87: 196 -> 238} {byte  89: 197 -> 238}}
  } {
    wifi_nvram_calibrate_set 0 0 $mode $band $bandwidth 0 $gain -> 1
    expect driver {cal_block_push}
    set lines {}
    foreach line $changed { lappend lines "340 WINVRAM $line" }
    same "changed codes of mode $mode" [nv diff] [join $lines \n]
    tell_changes
  }
  expect log "set cal_res as 0xee"
  wifi_nvram_calibrate_set 0 0 2 0 0 0 5.5 -> 0
  expect driver {}

  step "Read, clear, read"
  wifi_nvram_calibrate_get 200 -> 1 text 015a015c*
  wifi_nvram_calibrate_clean 1 -> 1
  wifi_nvram_calibrate_get 200 -> 1 text [string repeat 00 93]
}

# ---- The other chips' parameters -------------------------------------------------------------------------------

# chain, mode, band, bandwidth, MHz, error in tenths; then the parameters and their values afterwards
set corrections {
  {0 0 0 0 2442 60   pa2ga0 8192,11264,30}
  {0 2 0 0 2442 -45  pa2gccka0 8192,14152,164}
  {0 0 0 1 2442 120  pa2g40a0 8192,9628,-33}
  {0 0 0 0 2412 3    mf2ga0 -3,0,0,0,0,0,0,0,0,0,0,0,0}
  {0 0 0 0 2472 -4.9 mf2ga0 -3,0,0,0,0,0,0,0,0,0,0,0,4}
  {0 0 1 0 5180 60   pa5ga0 7800,10938,28,7700,12300,95,7600,12200,94,7500,12100,93
                     pa5glowa0 9000,14713,49,8900,16300,139,8800,16200,138,8700,16100,137}
  {0 0 1 0 5500 -45  pa5ga0 7800,10938,28,7700,13383,151,7600,12200,94,7500,12100,93
                     pa5glowa0 9000,14713,49,8900,17552,213,8800,16200,138,8700,16100,137}
  {0 0 1 0 5825 120  pa5ga0 7800,10938,28,7700,13383,151,7600,12200,94,7500,9288,-32
                     pa5glowa0 9000,14713,49,8900,17552,213,8800,16200,138,8700,12838,-33}
}
set second_chain {
  {1 0 0 0 2442 60   pa2ga1 8192,11314,30}
  {1 2 0 0 2442 -45  pa2gccka1 8192,14202,165}
  {1 0 0 1 2437 7    mf2g40a1 0,0,0,0,0,-7,0,0,0,0,0,0,0}
  {1 0 1 0 5660 -45  pa5ga1 7800,12400,96,7700,12300,95,7600,13269,150,7500,12100,93
                     pa5glowa1 9000,16400,140,8900,16300,139,8800,17438,212,8700,16100,137}
  {1 0 1 3 5570 -12  dpn160c1 0,12}
}

proc bring_up_texts {} {
  step "Bring the stored data up"
  if {[chip] eq "vq2040a"} {
    wifi_nvram_set -> 1
    expect driver {cal_block_fetch}
  } else {
    wifi_nvram_set -> 0
    expect log "not adapt for orva"
    nv load calibration_nv.txt
  }
  wifi_nvram_calibrate_get -> 1
  note "before: [output text]"
  nv snapshot
}

proc correct_texts {corrections} {
  step "Correct by measured errors"
  foreach correction $corrections {
    set expected [lassign $correction chain mode band bandwidth mhz error]
    wifi_nvram_calibrate_set 0 $chain $mode $band $bandwidth $mhz $error -> 1
    foreach {param value} $expected { holds $param $value }
  }
  wifi_nvram_calibrate_set 0 0 0 1 0 5400 60 -> 0
  expect log "5G freq is not matched"
  wifi_nvram_calibrate_set 1 0 0 0 0 2442 60 -> 0

  step "What changed"
  tell_changes
  wifi_nvram_calibrate_get -> 1 text {*pa2ga0=8192,11264,30;*mf2ga0=-3,*}
}

# Clears a scope and expects exactly these parameters to remain.
proc clear {scope left} {
  wifi_nvram_calibrate_clean $scope -> 1
  foreach param {pa2ga0 pa5ga0 pa2gccka0 pa5glowa0 mf2ga0 pa2ga1 pa5ga1 pa2gccka1 dpn160c1} {
    limits "$param left" [expr {[held $param] ne "none"}] [expr {$param in $left}]
  }
  tell_changes
}

proc clear_texts {} {
  step "Clear by scope"
  if {[chip] eq "vq2040a"} {
    clear 2 {pa2ga0 pa5ga0 pa2gccka0 pa5glowa0 mf2ga0}
    clear 1 {}
  } else {
    clear 5 {pa2ga0 pa2gccka0 mf2ga0 pa2ga1 pa2gccka1}
    clear 2 {pa2ga1 pa2gccka1}
    wifi_nvram_calibrate_clean 6 -> 1
    expect log "wrong input param"
    wifi_nvram_calibrate_clean_new 0,0,1,1 -> 1
    holds pa2gccka1 none
    clear 1 {}
  }
  wifi_nvram_calibrate_get -> 1 text ""
}

nv clear
if {[chip] eq "vq2040"} {
  calibrate_block
} else {
  bring_up_texts
  correct_texts [expr {[chip] eq "vq2040a" ? $corrections : [concat $corrections $second_chain]}]
  clear_texts
}
