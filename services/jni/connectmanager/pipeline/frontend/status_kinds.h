// Every status kind, in the order in which the getters are bound. A file that includes this defines
// KIND and LIST before; the end of this file undefines them. Each row has its own lines, because a
// fatal assertion reports the row's line when the getter is missing.
//
// KIND: rest of the name behind FE_STATUS_TYPE_, result type of the getter, getter, field of
// FE_STATUS_T, log line. LIST: rest of the name, member of gFrontendFields, getter, field (that of
// the length has Len appended), log line for the first element and the length, and for no list.

// clang-format off
KIND(DEMOD_LOCK, jboolean, isDemodLocked, mIsDemodLocked,
     "getFrontendStatus, CallBooleanMethod mIsDemodLocked: %d.")
KIND(SNR, jint, getSnr, mSnr, "getFrontendStatus, mSnr: %d.")
KIND(BER, jint, getBer, mBer, "getFrontendStatus, mBer: %d.")
KIND(PER, jint, getPer, mPer, "getFrontendStatus, mPer: %d.")
KIND(PER_BER, jint, getPerBer, mPerBer, "getFrontendStatus, mPerBer: %d.")
KIND(SIGNAL_QUALITY, jint, getSignalQuality, mSignalQuality,
     "getFrontendStatus, mSignalQuality: %d.")
KIND(SIGNAL_STRENGTH, jint, getSignalStrength, mSignalStrength,
     "getFrontendStatus, mSignalStrength: %d.")
KIND(SYMBOL_RATE, jint, getSymbolRate, mSymbolRate, "getFrontendStatus, mSymbolRate: %d.")
KIND(INNER_FEC, jlong, getInnerFec, mInnerFec, "getFrontendStatus, mInnerFec: %lld.")
KIND(MODULATION, jint, getModulation, mModulation, "getFrontendStatus, mModulation: %d.")
LIST(MODULATIONS_EXT, getModulationsExtID, getExtendedModulations, mModulationsExt,
     "getFrontendStatus, mModulationsExt: %d, length:%d",
     "getFrontendStatus, mModulationsExt is null")
KIND(SPECTRAL_INVERSION, jint, getSpectralInversion, mInversion,
     "getFrontendStatus, mInversion: %d.")
KIND(LNB_VOLTAGE, jint, getLnbVoltage, mLnbVoltage, "getFrontendStatus, mLnbVoltage: %d.")
KIND(PLP_ID, jint, getPlpId, mPlpId, "getFrontendStatus, mPlpId: %d.")
KIND(EWBS, jboolean, isEwbs, mIsEwbs, "getFrontendStatus, mIsEwbs: %d.")
KIND(AGC, jint, getAgc, mAgc, "getFrontendStatus, mAgc: %d.")
KIND(LNA, jboolean, isLnaOn, mIsLnaOn, "getFrontendStatus, mIsLnaOn: %d.")
KIND(MER, jint, getMer, mMer, "getFrontendStatus, mMer: %d.")
KIND(FREQ_OFFSET, jint, getFreqOffset, mFreqOffset, "getFrontendStatus, mFreqOffset: %d.")
KIND(HIERARCHY, jint, getHierarchy, mHierarchy, "getFrontendStatus, mHierarchy: %d.")
KIND(RF_LOCK, jboolean, isRfLocked, mIsRfLocked, "getFrontendStatus, mIsRfLocked: %d.")
KIND(BANDWIDTH, jint, getBandwidth, mBandWidth, "getFrontendStatus, mBandWidth: %d.")
KIND(SYSTEM_ID, jint, getSystemId, mSystemId, "getFrontendStatus, mSystemId: %d.")
KIND(ROLL_OFF, jint, getRollOff, mRollOff, "getFrontendStatus, mRollOff: %d.")
LIST(CODE_RATES, getCodeRatesID, getCodeRates, mCodeRates,
     "getFrontendStatus, mCodeRates: %d, length:%d",
     "getFrontendStatus, mCodeRates is null")
// clang-format on

#undef KIND
#undef LIST
